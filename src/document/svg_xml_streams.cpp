#include "document/svg_xml_streams.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/base_file.h"
#include "base/tracked_memory.h"
#include "document/svg_zip.h"

// ---- SvgXmlReaderWriter ----------------------------------------------------

SvgXmlReaderWriter::~SvgXmlReaderWriter()
{
    SvgXmlReaderWriter::close();
}

int32_t SvgXmlReaderWriter::LoadFromFile(const char* pathUtf8)
{
    close();
    file_ = BaseFileOpen(pathUtf8, BaseFileMode::Read);
    if (file_ < 0)
        return ERROR_FILE_OPEN;

    // Reading starts where the descriptor stands, which close can return to.
    startOffset_ = BaseFileSeek(file_, 0, SEEK_CUR);
    if (startOffset_ < 0) {
        startOffset_ = 0;
        return ERROR_FILE_SEEK;
    }
    int64_t end = BaseFileSeek(file_, 0, SEEK_END);
    if (end < 0 || BaseFileSeek(file_, startOffset_, SEEK_SET) < 0)
        return ERROR_FILE_SEEK;
    if (end <= startOffset_)
        return ERROR_FILE_READ;  // an empty file is no document, and says so as a read

    size_t size = static_cast<size_t>(end - startOffset_);
    data_ = static_cast<uint8_t*>(KV_ALLOC(size, 1));
    if (!data_)
        return ERROR_NO_MEMORY;
    // pugixml wants the whole text at once, so there is one read of all of it.
    if (BaseFileRead(file_, data_, size) != static_cast<int64_t>(size)) {
        KV_FREE(data_);
        data_ = nullptr;
        return ERROR_FILE_READ;
    }
    dataSize_ = size;
    return SUCCESS;
}

int32_t SvgXmlReaderWriter::LoadFromMemory(const void* block, size_t size)
{
    close();
    if (!block || size == 0)
        return ERROR_INV_PARAMETER;
    data_ = static_cast<uint8_t*>(KV_ALLOC(size, 1));
    if (!data_)
        return ERROR_NO_MEMORY;
    std::memcpy(data_, block, size);
    dataSize_ = size;
    return SUCCESS;
}

int32_t SvgXmlReaderWriter::open(const char* pathUtf8)
{
    close();
    file_ = BaseFileOpen(pathUtf8, BaseFileMode::WriteTruncate);
    return file_ < 0 ? ERROR_FILE_CREATE : SUCCESS;
}

void SvgXmlReaderWriter::close()
{
    KV_FREE(data_);
    data_ = nullptr;
    dataSize_ = 0;
    CloseFile();
}

void SvgXmlReaderWriter::CloseFile()
{
    if (file_ < 0)
        return;
    if (restorePosition_)
        BaseFileSeek(file_, startOffset_, SEEK_SET);
    BaseFileClose(file_);
    file_ = -1;
}

void SvgXmlReaderWriter::write(const void* data, size_t size)
{
    if (status_ != SUCCESS || size == 0)
        return;
    WriteToFile(data, size);
}

int32_t SvgXmlReaderWriter::WriteToFile(const void* data, size_t size)
{
    // A closed file is as much a lost write as a full disk.
    if (file_ < 0 || BaseFileWrite(file_, data, size) != static_cast<int64_t>(size))
        Fail(ERROR_FILE_WRITE);
    return status_;
}

// ---- SvgGzipStage ----------------------------------------------------------

SvgGzipStage::~SvgGzipStage()
{
    Release();
}

void SvgGzipStage::Release()
{
    if (streamReady_) {
        deflateEnd(&stream_);
        streamReady_ = false;
    }
    KV_FREE(pending_);
    pending_ = nullptr;
    pendingCapacity_ = 0;
    pendingSize_ = 0;
}

int32_t SvgGzipStage::Keep(const void* data, size_t size)
{
    if (pendingCapacity_ < size) {
        KV_FREE(pending_);
        pendingCapacity_ = 0;
        pending_ = static_cast<uint8_t*>(KV_ALLOC_ZERO(size, 1));
        if (!pending_)
            return ERROR_NO_MEMORY;
        pendingCapacity_ = size;
    }
    std::memcpy(pending_, data, size);
    pendingSize_ = size;
    return SUCCESS;
}

int32_t SvgGzipStage::Compress(bool finish)
{
    if (pendingSize_ == 0)
        return SUCCESS;
    if (!streamReady_) {
        stream_ = z_stream{};
        UseTrackedZlibMemory(stream_);
        // Window bits 31 is deflate with a gzip wrapper; the rest are zlib's defaults.
        if (deflateInit2(&stream_, 6, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY) != Z_OK)
            return ERROR_NO_MEMORY;
        streamReady_ = true;
    }

    stream_.next_in = pending_;
    stream_.avail_in = static_cast<uInt>(pendingSize_);
    stream_.next_out = outBuffer_;
    stream_.avail_out = kStagingBytes;
    const int flush = finish ? Z_FINISH : Z_NO_FLUSH;
    for (;;) {
        int result = deflate(&stream_, flush);
        size_t left = stream_.avail_out;
        if (result == Z_BUF_ERROR && left >= kStagingBytes)
            break;  // no progress possible and nothing produced
        if (result == Z_STREAM_END || left == 0 || result == Z_BUF_ERROR) {
            if (int32_t status = sink_(sink_context_, outBuffer_, kStagingBytes - left); status != SUCCESS) {
                Release();
                return status;
            }
            stream_.next_out = outBuffer_;
            stream_.avail_out = kStagingBytes;
        }
        if (result == Z_STREAM_END || result == Z_BUF_ERROR)
            break;
        if (result != Z_OK) {
            Release();
            return FAILURE;
        }
    }
    // The waiting block is now inside the stream.
    pendingSize_ = 0;
    if (finish) {
        int result = deflateEnd(&stream_);
        streamReady_ = false;
        if (result != Z_OK)
            return FAILURE;
    }
    return SUCCESS;
}

// ---- SvgZXmlWriter ---------------------------------------------------------

SvgZXmlWriter::SvgZXmlWriter() : stage_(&SinkToFile, this) {}

SvgZXmlWriter::~SvgZXmlWriter()
{
    SvgZXmlWriter::close();
}

int32_t SvgZXmlWriter::SinkToFile(void* context, const uint8_t* bytes, size_t count)
{
    return static_cast<SvgZXmlWriter*>(context)->WriteToFile(bytes, count);
}

void SvgZXmlWriter::write(const void* data, size_t size)
{
    if (status_ != SUCCESS || size == 0)
        return;
    if (int32_t status = stage_.Compress(false); status != SUCCESS) {
        Fail(status);
        stage_.Release();
        return;
    }
    if (int32_t status = stage_.Keep(data, size); status != SUCCESS) {
        Fail(status);
        stage_.Release();
    }
}

void SvgZXmlWriter::close()
{
    if (status_ == SUCCESS) {
        if (int32_t status = stage_.Compress(true); status != SUCCESS)
            Fail(status);
    }
    stage_.Release();
    SvgXmlReaderWriter::close();
}

// ---- SvgXmlMemoryWriter ----------------------------------------------------

SvgXmlMemoryWriter::SvgXmlMemoryWriter(void** block, size_t* size) : block_(block), size_(size)
{
    *block_ = nullptr;
    *size_ = 0;
}

SvgXmlMemoryWriter::~SvgXmlMemoryWriter()
{
    SvgXmlMemoryWriter::finish();
}

void SvgXmlMemoryWriter::write(const void* data, size_t size)
{
    if (status_ != SUCCESS || size == 0)
        return;
    Append(static_cast<const uint8_t*>(data), size);
}

int32_t SvgXmlMemoryWriter::Append(const uint8_t* bytes, size_t count)
{
    size_t used = *size_;
    if (count > capacity_ - used) {
        if (count > SIZE_MAX - used) {
            Fail(ERROR_NO_MEMORY);
            return status_;
        }
        // The caller sees the exact total; the block grows geometrically
        // underneath so that a large save is not a copy per staging area.
        size_t wanted = std::max(used + count, capacity_ > SIZE_MAX / 2 ? SIZE_MAX : capacity_ * 2);
        void* grown = *block_ ? KV_REALLOC(*block_, wanted) : KV_ALLOC_ZERO(wanted, 1);
        if (!grown) {
            KV_FREE(*block_);
            *block_ = nullptr;
            *size_ = 0;
            capacity_ = 0;
            Fail(ERROR_NO_MEMORY);
            return status_;
        }
        *block_ = grown;
        capacity_ = wanted;
    }
    std::memcpy(static_cast<uint8_t*>(*block_) + used, bytes, count);
    *size_ = used + count;
    return SUCCESS;
}

int32_t SvgXmlMemoryWriter::finish()
{
    if (status_ != SUCCESS) {
        KV_FREE(*block_);
        *block_ = nullptr;
        *size_ = 0;
        capacity_ = 0;
    }
    return status_;
}

// ---- SvgZXmlMemoryWriter ---------------------------------------------------

SvgZXmlMemoryWriter::SvgZXmlMemoryWriter(void** block, size_t* size)
    : SvgXmlMemoryWriter(block, size), stage_(&SinkToBlock, this)
{
}

SvgZXmlMemoryWriter::~SvgZXmlMemoryWriter()
{
    SvgZXmlMemoryWriter::finish();
}

int32_t SvgZXmlMemoryWriter::SinkToBlock(void* context, const uint8_t* bytes, size_t count)
{
    if (count == 0)
        return SUCCESS;
    return static_cast<SvgZXmlMemoryWriter*>(context)->Append(bytes, count);
}

void SvgZXmlMemoryWriter::write(const void* data, size_t size)
{
    if (finished_ || status_ != SUCCESS || size == 0)
        return;
    if (int32_t status = stage_.Compress(false); status != SUCCESS) {
        Fail(status);
        stage_.Release();
        return;
    }
    if (int32_t status = stage_.Keep(data, size); status != SUCCESS) {
        Fail(status);
        stage_.Release();
    }
}

int32_t SvgZXmlMemoryWriter::finish()
{
    if (!finished_) {
        finished_ = true;
        if (status_ == SUCCESS) {
            if (int32_t status = stage_.Compress(true); status != SUCCESS)
                Fail(status);
        }
        stage_.Release();
    }
    return SvgXmlMemoryWriter::finish();
}

// ---- SvgXmlMemoryWriter2 ---------------------------------------------------

void SvgXmlMemoryWriter2::write(const void* data, size_t size)
{
    if (!buffer_) {
        *count_ += size;
        return;
    }
    if (status_ != SUCCESS || size > *count_ || offset_ > *count_ - size)
        return;
    std::memcpy(buffer_ + offset_, data, size);
    offset_ += size;
}
