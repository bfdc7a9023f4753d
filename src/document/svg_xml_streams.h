// The only road by which bytes reach or leave the XML tree. A reader takes a
// whole file or block into tracked memory for the parser; the writers are what
// pugixml's save writes through: to a file, to a counted block, or into a gzip
// stream bound for a file or a block. Parsing, save flags and the choice of
// writer are the document's; decompression lives in svg_zip.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include <pugixml.hpp>
#include <zlib.h>

#include "kvsvg/kvsvg.h"

// The one base of the family, so that the object that reads a file can also be
// handed to the tree's save. pugixml's write returns nothing: a failure waits
// in the status until the save is over, and the first failure is the one kept.
class SvgXmlBase : public pugi::xml_writer {
public:
    SvgXmlBase() = default;
    SvgXmlBase(const SvgXmlBase&) = delete;
    SvgXmlBase& operator=(const SvgXmlBase&) = delete;
    ~SvgXmlBase() override = default;

    virtual int32_t getStatus() const { return status_; }

protected:
    // Keeps the cause: later failures are its echoes.
    void Fail(int32_t status)
    {
        if (status_ == SUCCESS)
            status_ = status;
    }

    int32_t status_ = SUCCESS;
};

// Reads a whole file or block for the parser, and writes plain text to a file.
class SvgXmlReaderWriter : public SvgXmlBase {
public:
    SvgXmlReaderWriter() = default;
    ~SvgXmlReaderWriter() override;

    // Both first close. Missing file ERROR_FILE_OPEN, sizing ERROR_FILE_SEEK,
    // empty or short ERROR_FILE_READ; no memory ERROR_NO_MEMORY.
    int32_t LoadFromFile(const char* pathUtf8);
    // Takes a private copy: a null or empty block is ERROR_INV_PARAMETER.
    int32_t LoadFromMemory(const void* block, size_t size);

    void write(const void* data, size_t size) override;
    // Frees what was read and closes the file.
    virtual void close();
    // Creates or truncates the file for writing; ERROR_FILE_CREATE when it can't.
    virtual int32_t open(const char* pathUtf8);

    // When set, close puts the file position back where the reading began.
    void SetRestorePosition(bool restore) { restorePosition_ = restore; }

    const uint8_t* data() const { return data_; }
    size_t dataSize() const { return dataSize_; }

protected:
    bool IsOpen() const { return file_ >= 0; }
    // Writes all of it or fails the stream with ERROR_FILE_WRITE.
    int32_t WriteToFile(const void* data, size_t size);

private:
    void CloseFile();

    int file_ = -1;
    uint8_t* data_ = nullptr;
    size_t dataSize_ = 0;
    int64_t startOffset_ = 0;
    bool restorePosition_ = false;
};

// The deflate half of the compressed writers. It runs one block behind the
// tree: each new block first compresses the one before it and is then kept, so
// that the last block of all can be compressed with Z_FINISH when the writer
// ends. The stream is made on the first real output, so a tree that writes
// nothing produces no bytes at all, not even a gzip header.
class SvgGzipStage {
public:
    // Receives each filled piece of the 4096-byte staging area; returns a status.
    using Sink = int32_t (*)(void* context, const uint8_t* bytes, size_t count);

    SvgGzipStage(Sink sink, void* context) : sink_(sink), sink_context_(context) {}
    SvgGzipStage(const SvgGzipStage&) = delete;
    SvgGzipStage& operator=(const SvgGzipStage&) = delete;
    ~SvgGzipStage();

    // Compresses the waiting block, if any. On failure the stream is released.
    int32_t Compress(bool finish);
    // Copies the new block in as the waiting one.
    int32_t Keep(const void* data, size_t size);
    // Ends the deflate stream without finishing it and drops the waiting block.
    void Release();

    static constexpr size_t kStagingBytes = 4096;

private:
    Sink sink_;
    void* sink_context_;
    z_stream stream_{};
    bool streamReady_ = false;
    uint8_t outBuffer_[kStagingBytes];
    uint8_t* pending_ = nullptr;
    size_t pendingCapacity_ = 0;
    size_t pendingSize_ = 0;
};

// Writes a gzip file. close (and the destructor) finishes the stream.
class SvgZXmlWriter : public SvgXmlReaderWriter {
public:
    SvgZXmlWriter();
    ~SvgZXmlWriter() override;

    void close() override;
    void write(const void* data, size_t size) override;

private:
    static int32_t SinkToFile(void* context, const uint8_t* bytes, size_t count);

    SvgGzipStage stage_;
};

// Appends plain text to a tracked block that it hands to the caller through
// *block and *size (cleared at construction). A block that ends in failure is
// freed and the caller's pointer and size zeroed.
class SvgXmlMemoryWriter : public SvgXmlBase {
public:
    SvgXmlMemoryWriter(void** block, size_t* size);
    ~SvgXmlMemoryWriter() override;

    void write(const void* data, size_t size) override;

    // Drops the block if the stream failed; returns the final status. Safe to
    // call more than once; the destructor calls it.
    virtual int32_t finish();

protected:
    // Grows the caller's block by count bytes; a failure frees it.
    int32_t Append(const uint8_t* bytes, size_t count);

private:
    void** block_;
    size_t* size_;
    size_t capacity_ = 0;
};

// Writes a gzip stream into the caller's block; finish completes it.
class SvgZXmlMemoryWriter : public SvgXmlMemoryWriter {
public:
    SvgZXmlMemoryWriter(void** block, size_t* size);
    ~SvgZXmlMemoryWriter() override;

    void write(const void* data, size_t size) override;
    int32_t finish() override;

private:
    static int32_t SinkToBlock(void* context, const uint8_t* bytes, size_t count);

    SvgGzipStage stage_;
    bool finished_ = false;
};

// Two passes over one save. Without a buffer it only adds up the sizes in
// *count; with a buffer it copies each write at the running offset when it
// fits in *count, and otherwise copies nothing and says nothing, so the fill
// pass can never write past what the counting pass measured.
class SvgXmlMemoryWriter2 : public SvgXmlBase {
public:
    SvgXmlMemoryWriter2(uint8_t* buffer, size_t* count) : buffer_(buffer), count_(count) {}

    void write(const void* data, size_t size) override;

private:
    uint8_t* buffer_;
    size_t* count_;
    size_t offset_ = 0;
};
