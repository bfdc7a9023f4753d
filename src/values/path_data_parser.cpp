// ParsePathData (declared in value_parser.h): the path grammar by character.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/tracked_memory.h"
#include "values/value_parser.h"
#include "values/wide_text.h"

namespace {

// Longest number text kept; the rest of a longer number is read past.
constexpr size_t kNumberCapacity = 31;

constexpr uint32_t ArgumentCount(char16_t upper)
{
    switch (upper) {
    case u'M':
    case u'L':
    case u'T':
        return 2;
    case u'H':
    case u'V':
        return 1;
    case u'C':
        return 6;
    case u'S':
    case u'Q':
        return 4;
    case u'A':
        return 7;
    default:
        return 0;
    }
}

constexpr bool IsCommandLetter(char16_t c)
{
    switch (c) {
    case u'M': case u'Z': case u'L': case u'H': case u'V': case u'C': case u'S': case u'Q': case u'T': case u'A':
    case u'm': case u'z': case u'l': case u'h': case u'v': case u'c': case u's': case u'q': case u't': case u'a':
        return true;
    default:
        return false;
    }
}

constexpr char16_t Upper(char16_t c) { return (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c; }

class PathBuilder {
public:
    explicit PathBuilder(SvgPathData* data) : data_(data) {}

    int32_t Append(char16_t command, const double* arguments)
    {
        if (data_->count == capacity_) {
            // By 20, or by half once that is more: a path of a hundred
            // thousand segments was copied once per twenty, 2.5 s.
            const uint64_t wanted64 =
                capacity_ == 0 ? 15 : uint64_t(capacity_) + std::max<uint64_t>(20, capacity_ / 2);
            if (wanted64 > UINT32_MAX / sizeof(SvgPathSegment))
                return ERROR_NO_MEMORY;
            const uint32_t wanted = static_cast<uint32_t>(wanted64);
            void* grown = KV_REALLOC(data_->items, static_cast<size_t>(wanted) * sizeof(SvgPathSegment));
            if (!grown)
                return ERROR_NO_MEMORY;
            data_->items = static_cast<SvgPathSegment*>(grown);
            capacity_ = wanted;
        }
        // Fields that the command does not give stay zero, so that a smooth
        // curve's implied control point is a defined number for the writer.
        SvgPathSegment segment;
        std::memset(&segment, 0, sizeof(segment));
        segment.size = kSvgPathSegmentSize;
        segment.relative = (command >= u'a' && command <= u'z') ? 1u : 0u;
        const double* a = arguments;
        switch (Upper(command)) {
        case u'M':
            segment.type = SVG_SEGMENT_MOVE;
            segment.payloadSize = sizeof(SvgPathMove);
            segment.payload.move = SvgPathMove{a[0], a[1]};
            break;
        case u'Z':
            segment.type = SVG_SEGMENT_CLOSE;
            break;
        case u'L':
        case u'H':
        case u'V':
            segment.type = SVG_SEGMENT_LINE;
            segment.payloadSize = sizeof(SvgPathLine);
            if (Upper(command) == u'H') {
                segment.payload.line.horizontal = 1;
                segment.payload.line.x = a[0];
            } else if (Upper(command) == u'V') {
                segment.payload.line.vertical = 1;
                segment.payload.line.y = a[0];
            } else {
                segment.payload.line.x = a[0];
                segment.payload.line.y = a[1];
            }
            break;
        case u'C':
            segment.type = SVG_SEGMENT_CUBIC;
            segment.payloadSize = sizeof(SvgPathCubic);
            segment.payload.cubic = SvgPathCubic{0, a[4], a[5], a[0], a[1], a[2], a[3]};
            break;
        case u'S':
            segment.type = SVG_SEGMENT_CUBIC;
            segment.payloadSize = sizeof(SvgPathCubic);
            segment.payload.cubic = SvgPathCubic{1, a[2], a[3], 0.0, 0.0, a[0], a[1]};
            break;
        case u'Q':
            segment.type = SVG_SEGMENT_QUADRATIC;
            segment.payloadSize = sizeof(SvgPathQuadratic);
            segment.payload.quadratic = SvgPathQuadratic{0, a[2], a[3], a[0], a[1]};
            break;
        case u'T':
            segment.type = SVG_SEGMENT_QUADRATIC;
            segment.payloadSize = sizeof(SvgPathQuadratic);
            segment.payload.quadratic = SvgPathQuadratic{1, a[0], a[1], 0.0, 0.0};
            break;
        case u'A':
            segment.type = SVG_SEGMENT_ARC;
            segment.payloadSize = sizeof(SvgPathArc);
            segment.payload.arc = SvgPathArc{a[4] != 0.0 ? 1u : 0u, a[3] != 0.0 ? 1u : 0u, a[5], a[6], a[0], a[1], a[2]};
            break;
        default:
            return SUCCESS;
        }
        data_->items[data_->count++] = segment;
        return SUCCESS;
    }

private:
    SvgPathData* data_;
    uint32_t capacity_ = 0;
};

// One number of the path as it is being read.
struct NumberState {
    char text[kNumberCapacity + 1];
    size_t length = 0;
    bool active = false;
    bool dot = false;
    bool digit = false;
    bool exponent = false;
    bool exponentSign = false;

    void Start()
    {
        length = 0;
        active = true;
        dot = digit = exponent = exponentSign = false;
    }
    void Put(char16_t c)
    {
        if (length < kNumberCapacity)
            text[length++] = static_cast<char>(c);
    }
};

}  // namespace

int32_t ParsePathData(std::u16string_view text, SvgPathData* data)
{
    if (!data)
        return ERROR_INV_PARAMETER;
    if (data->items)
        KV_FREE(data->items);
    data->items = nullptr;
    data->count = 0;
    while (!text.empty() && IsXmlSpace(text.back()))
        text.remove_suffix(1);

    PathBuilder builder(data);
    NumberState number;
    char16_t command = 0;
    double arguments[7] = {};
    uint32_t argumentCount = 0;

    // Ends the number at hand, if any, and gives it to the command; a full set
    // of arguments makes a segment, and the next set repeats the command.
    auto finishNumber = [&]() -> int32_t {
        if (!number.active)
            return SUCCESS;
        number.active = false;
        number.text[number.length] = '\0';
        double value = AsciiToDouble(number.text);
        uint32_t needed = ArgumentCount(Upper(command));
        if (needed == 0)
            return SUCCESS;  // numbers without a command that takes them
        arguments[argumentCount++] = value;
        if (argumentCount < needed)
            return SUCCESS;
        argumentCount = 0;
        int32_t status = builder.Append(command, arguments);
        if (command == u'M')
            command = u'L';
        else if (command == u'm')
            command = u'l';
        return status;
    };

    for (char16_t c : text) {
        if (IsAsciiDigit(c)) {
            if (!number.active)
                number.Start();
            number.Put(c);
            number.digit = true;
        } else if (c == u'.') {
            // A second point ends the number and begins the next: "10.5.5"
            // is 10.5 and .5.
            if (number.active && number.dot) {
                if (int32_t status = finishNumber(); status != SUCCESS)
                    return status;
            }
            if (!number.active)
                number.Start();
            number.Put(c);
            number.dot = true;
        } else if (c == u'-' || c == u'+') {
            if (!number.active && c == u'-') {
                number.Start();
                number.Put(c);
            } else if (number.active && number.exponent && !number.exponentSign) {
                number.Put(c);
                number.exponentSign = true;
            } else {
                return ERROR_INV_PARAMETER;
            }
        } else if (c == u'e' || c == u'E') {
            if (!number.active || !number.digit || number.exponent)
                return ERROR_INV_PARAMETER;
            number.Put(c);
            number.exponent = true;
        } else if (IsListDelimiter(c) || c == u'#' || c == u'&' || c == u';' || c == u'D' || c == u'x') {
            // The odd characters let escaped line ends ("&#xD;") through.
            if (int32_t status = finishNumber(); status != SUCCESS)
                return status;
        } else if (IsCommandLetter(c)) {
            if (int32_t status = finishNumber(); status != SUCCESS)
                return status;
            command = c;
            argumentCount = 0;
            if (Upper(c) == u'Z') {
                if (int32_t status = builder.Append(c, arguments); status != SUCCESS)
                    return status;
            }
        } else {
            return ERROR_INV_PARAMETER;
        }
    }
    return finishNumber();
}
