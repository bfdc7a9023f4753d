// Converts the UTF-8 text of the narrow-character twins to the UTF-16 of the
// wide exports and back, in tracked blocks. Broken UTF-8 reads as U+FFFD, as
// everywhere in the library; whether that is acceptable is the caller's
// decision, for which IsWellFormedUtf8 is here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// A zero-terminated wide copy of a zero-terminated narrow text. Null for a
// null text, and null when memory runs out: a caller tells the two apart by
// its own argument.
char16_t* ToWide(const char* text, int line, const char* file);
// The same of exactly `bytes` bytes, which need not end in a zero; *units
// (may be null) receives the UTF-16 length.
char16_t* ToWideBytes(const char* text, size_t bytes, size_t* units, int line, const char* file);
// A zero-terminated UTF-8 copy of a wide text, as long as its UTF-8 needs
// (never the wide count). Null for null, or when memory runs out; *bytes
// (may be null) receives the length without the zero.
char* ToNarrow(const char16_t* text, size_t* bytes, int line, const char* file);
void FreeConverted(void* block);

// True when every sequence is UTF-8 of a Unicode scalar value.
bool IsWellFormedUtf8(std::string_view text);

// Owns the wide copy of a narrow argument for the time of one call.
class WideText {
public:
    explicit WideText(const char* text, int line = __builtin_LINE(), const char* file = __builtin_FILE())
        : narrow_(text), wide_(ToWide(text, line, file))
    {
    }
    ~WideText() { FreeConverted(wide_); }
    WideText(const WideText&) = delete;
    WideText& operator=(const WideText&) = delete;

    // A text was given but could not be copied.
    bool Failed() const { return narrow_ && !wide_; }
    const char16_t* get() const { return wide_; }

private:
    const char* narrow_;
    char16_t* wide_;
};

// The last step of a text-out twin: hands the wide result over as a new
// narrow block in *out and frees the wide one, on every path. A failed
// status, or an empty or null text, gives a null *out (and *length 0); a
// narrow copy that cannot be had, ERROR_NO_MEMORY. *length (may be null)
// counts the bytes and the terminating zero.
int32_t NarrowTextOut(int32_t status, char16_t* wide, char** out, size_t* length = nullptr);
