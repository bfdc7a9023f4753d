// What every fuzz target shares: the check that an input gave back every
// tracked block and library object, text conversion for the wide boundary,
// and a record buffer large enough for any element record. Targets see the
// library through include/kvsvg/ only; the tracked-memory counters are the
// one internal view they need, since a leak of a tracked block is a fault
// the sanitizers cannot see (the block is still reachable from the registry).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "kvsvg/kvsvg.h"

namespace kvfuzz {

// Checks on destruction that the input left no tracked block or resource
// behind and aborts with a description of the leftovers if it did, so the
// fuzzer keeps the input as a crash.
class LeakCheck {
public:
    LeakCheck() = default;
    ~LeakCheck();
    LeakCheck(const LeakCheck&) = delete;
    LeakCheck& operator=(const LeakCheck&) = delete;
};

// Aborts with a message; for properties a target asserts (a saved document
// that does not load again, a round trip that changes bytes).
[[noreturn]] void Fail(const char* what, int64_t detail = 0);

// Prints a labelled text to standard error as UTF-8 (lone surrogates as
// U+FFFD), to say what led to a failure.
void Report(const char* label, std::u16string_view text);

// UTF-8 bytes as the boundary's UTF-16, every invalid byte as U+FFFD, so
// that any input reaches the library as some text.
std::u16string WideFromBytes(std::string_view bytes);

// The record size of an element type, 0 for types without a record.
uint32_t RecordSizeOf(uint32_t type);

// Room for the largest element record, aligned for any of them.
struct alignas(16) RecordBuffer {
    unsigned char bytes[4096];
};

// A document handle freed on every path.
class Document {
public:
    Document() = default;
    ~Document()
    {
        if (handle_)
            K_SvgFreeNode(handle_);
    }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    SvgHandle* out() { return &handle_; }
    SvgHandle get() const { return handle_; }

private:
    SvgHandle handle_ = nullptr;
};

// Reads the bytes of an input as the arguments of calls, front to back.
// Past the end every read gives 0, so that any prefix of an input is an
// input too and a target needs no length checks of its own.
class ByteReader {
public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool empty() const { return at_ >= size_; }
    size_t remaining() const { return empty() ? 0 : size_ - at_; }
    uint8_t Byte() { return empty() ? 0 : data_[at_++]; }
    uint32_t Word()
    {
        uint32_t value = Byte();
        value |= uint32_t(Byte()) << 8;
        value |= uint32_t(Byte()) << 16;
        return value | uint32_t(Byte()) << 24;
    }
    // A whole number from lowest to highest, both included.
    int32_t Between(int32_t lowest, int32_t highest)
    {
        uint32_t span = uint32_t(highest - lowest) + 1;
        return lowest + int32_t((span > 256 ? Word() : Byte()) % span);
    }
    // A coordinate: mostly small numbers a drawing has, sometimes one of
    // the values that break arithmetic (NaN, infinities, the extremes).
    double Number();
    // Up to `limit` bytes, fewer when the input ends first.
    std::string_view Take(size_t limit)
    {
        size_t length = limit < remaining() ? limit : remaining();
        std::string_view taken(reinterpret_cast<const char*>(data_ + at_), length);
        at_ += length;
        return taken;
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};

// Reads every element's record, writes it back and reads its attributes by
// name; statuses are not judged, only crashes, overruns and leaks.
void WalkAndRewriteRecords(SvgHandle document);

}  // namespace kvfuzz

// The entry point every target defines, also called by the seed driver.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
