#include "values/value_formatter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/keyword_table.h"
#include "values/value_parser.h"
#include "values/wide_text.h"

namespace {

using View = std::u16string_view;

// Text that grows in a tracked block, zero-filled as it grows, for the
// list formatters. The block is either handed out or freed.
class GrowingText {
public:
    GrowingText(size_t initialCapacity, size_t step) : initialCapacity_(initialCapacity), step_(step) {}
    ~GrowingText()
    {
        if (buffer_)
            KV_FREE(buffer_);
    }
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;

    bool Append(View text)
    {
        size_t required = length_ + text.size() + 1;
        if (required > capacity_ && !Grow(required))
            return false;
        if (!text.empty())
            std::memcpy(buffer_ + length_, text.data(), text.size() * sizeof(KvChar));
        length_ += text.size();
        buffer_[length_] = 0;
        return true;
    }

    // Makes sure there is a block even for an empty text.
    bool Ensure() { return buffer_ || Grow(1); }

    // Gives back unused room when more than `slack` characters are free.
    void Shrink(size_t slack)
    {
        if (!buffer_ || capacity_ - (length_ + 1) <= slack)
            return;
        if (void* smaller = KV_REALLOC(buffer_, (length_ + 1) * sizeof(KvChar))) {
            buffer_ = static_cast<KvChar*>(smaller);
            capacity_ = length_ + 1;
        }
    }

    KvChar* Release()
    {
        KvChar* released = buffer_;
        buffer_ = nullptr;
        return released;
    }

private:
    bool Grow(size_t required)
    {
        size_t capacity;
        if (capacity_ == 0)
            capacity = initialCapacity_ > required ? initialCapacity_ : required;
        else
            // Growing by half at least keeps a long list linear to write;
            // the step alone would copy the whole text once per step.
            capacity = required >= capacity_ + step_ ? capacity_ + required + 1
                                                     : capacity_ + std::max(step_, capacity_ / 2);
        if (capacity > SIZE_MAX / sizeof(KvChar))
            return false;
        void* grown = KV_REALLOC(buffer_, capacity * sizeof(KvChar));
        if (!grown)
            return false;
        buffer_ = static_cast<KvChar*>(grown);
        std::memset(buffer_ + capacity_, 0, (capacity - capacity_) * sizeof(KvChar));
        capacity_ = capacity;
        return true;
    }

    size_t initialCapacity_;
    size_t step_;
    KvChar* buffer_ = nullptr;
    size_t length_ = 0;
    size_t capacity_ = 0;
};

// A number as NumberToString writes it, held on the stack.
struct NumberText {
    KvChar text[kNumberTextCapacity];
    explicit NumberText(double value) { NumberToString(value, text); }
    View view() const { return View(text); }
};

int32_t NewText(View text, KvChar** out)
{
    *out = NewWideCopy(text);
    return *out ? SUCCESS : ERROR_NO_MEMORY;
}

int32_t NewTrimmedText(const KvChar* text, KvChar** out)
{
    if (!text) {
        *out = nullptr;
        return SUCCESS;
    }
    return NewText(TrimRuntimeSpace(WideView(text)), out);
}

int32_t KeywordToBuffer(View keyword, KvChar* buffer)
{
    FixedWideText out(buffer, kNumberTextCapacity);
    out.Append(keyword);
    return SUCCESS;
}

int32_t EmptyBuffer(KvChar* buffer)
{
    buffer[0] = 0;
    return SUCCESS;
}

int32_t KeywordLengthToString(const SvgKeywordLength* value, View keyword, KvChar* buffer)
{
    if (!value || !buffer)
        return ERROR_INV_PARAMETER;
    switch (value->kind) {
    case 0: return EmptyBuffer(buffer);
    case 1: return KeywordToBuffer(keyword, buffer);
    case 2: return LengthToString(&value->length, buffer);
    default: return FAILURE;
    }
}

int32_t NoneOrReferenceToString(const SvgReference* reference, KvChar** text)
{
    if (!reference || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    switch (reference->kind) {
    case 0: return SUCCESS;
    case 1: return NewText(u"none", text);
    case 2: return UriToString(reference->id, text);
    default: return FAILURE;
    }
}

// One transform as text, at most 300 characters.
int32_t TransformToText(const SvgTransform& item, FixedWideText& out)
{
    auto arguments = [&](View name, std::initializer_list<double> values) {
        out.Append(name);
        out.Append(u"(");
        bool first = true;
        for (double value : values) {
            if (!first)
                out.Append(u" ");
            out.Append(NumberText(value).view());
            first = false;
        }
        out.Append(u")");
    };
    if (item.type > SVG_TRANSFORM_MATRIX)
        return ERROR_INV_NUMBER;
    if (item.type != SVG_TRANSFORM_NONE && IsUnsetDouble(item.a))
        return ERROR_INV_NUMBER;
    switch (item.type) {
    case SVG_TRANSFORM_TRANSLATE:
    case SVG_TRANSFORM_SCALE: {
        View name = item.type == SVG_TRANSFORM_TRANSLATE ? View(u"translate") : View(u"scale");
        if (IsUnsetDouble(item.b))
            arguments(name, {item.a});
        else
            arguments(name, {item.a, item.b});
        break;
    }
    case SVG_TRANSFORM_ROTATE:
        if (IsUnsetDouble(item.b) && IsUnsetDouble(item.c))
            arguments(u"rotate", {item.a});
        else if (IsUnsetDouble(item.b) || IsUnsetDouble(item.c))
            return ERROR_INV_NUMBER;  // a centre needs both coordinates
        else
            arguments(u"rotate", {item.a, item.b, item.c});
        break;
    case SVG_TRANSFORM_SKEWX:
        arguments(u"skewX", {item.a});
        break;
    case SVG_TRANSFORM_SKEWY:
        arguments(u"skewY", {item.a});
        break;
    case SVG_TRANSFORM_MATRIX:
        for (double value : {item.b, item.c, item.d, item.e, item.f}) {
            if (IsUnsetDouble(value))
                return ERROR_INV_NUMBER;
        }
        arguments(u"matrix", {item.a, item.b, item.c, item.d, item.e, item.f});
        break;
    default:
        break;
    }
    return SUCCESS;
}

bool AllDefined(std::initializer_list<double> values)
{
    for (double value : values) {
        if (IsUnsetDouble(value))
            return false;
    }
    return true;
}

// One path command, at most 200 characters.
int32_t SegmentToText(const SvgPathSegment& segment, FixedWideText& out)
{
    bool relative = segment.relative != 0;
    auto letter = [&](char16_t upper) {
        char16_t c = relative ? char16_t(upper + 32) : upper;
        out.Append(View(&c, 1));
    };
    auto numbers = [&](std::initializer_list<double> values) {
        bool first = true;
        for (double value : values) {
            if (!first)
                out.Append(u" ");
            out.Append(NumberText(value).view());
            first = false;
        }
    };
    const auto& p = segment.payload;
    switch (segment.type) {
    case SVG_SEGMENT_MOVE:
        if (!AllDefined({p.move.x, p.move.y}))
            return ERROR_INV_NUMBER;
        letter(u'M');
        numbers({p.move.x, p.move.y});
        break;
    case SVG_SEGMENT_CLOSE:
        letter(u'Z');
        break;
    case SVG_SEGMENT_LINE:
        if (p.line.horizontal == 1) {
            if (!AllDefined({p.line.x}))
                return ERROR_INV_NUMBER;
            letter(u'H');
            numbers({p.line.x});
        } else if (p.line.vertical == 1) {
            if (!AllDefined({p.line.y}))
                return ERROR_INV_NUMBER;
            letter(u'V');
            numbers({p.line.y});
        } else {
            if (!AllDefined({p.line.x, p.line.y}))
                return ERROR_INV_NUMBER;
            letter(u'L');
            numbers({p.line.x, p.line.y});
        }
        break;
    case SVG_SEGMENT_CUBIC: {
        const SvgPathCubic& c = p.cubic;
        if (!AllDefined({c.x, c.y, c.x1, c.y1, c.x2, c.y2}))
            return ERROR_INV_NUMBER;
        if (c.smooth == 1) {
            letter(u'S');
            numbers({c.x2, c.y2, c.x, c.y});
        } else {
            letter(u'C');
            numbers({c.x1, c.y1, c.x2, c.y2, c.x, c.y});
        }
        break;
    }
    case SVG_SEGMENT_QUADRATIC: {
        const SvgPathQuadratic& q = p.quadratic;
        if (q.smooth == 1) {
            if (!AllDefined({q.x, q.y}))
                return ERROR_INV_NUMBER;
            letter(u'T');
            numbers({q.x, q.y});
        } else {
            if (!AllDefined({q.x, q.y, q.x1, q.y1}))
                return ERROR_INV_NUMBER;
            letter(u'Q');
            numbers({q.x1, q.y1, q.x, q.y});
        }
        break;
    }
    case SVG_SEGMENT_ARC: {
        const SvgPathArc& a = p.arc;
        if (!AllDefined({a.x, a.y, a.rx, a.ry, a.rotationDegrees}))
            return ERROR_INV_NUMBER;
        letter(u'A');
        numbers({a.rx, a.ry, a.rotationDegrees});
        out.Append(a.largeArc == 1 ? View(u" 1") : View(u" 0"));
        out.Append(a.sweep == 1 ? View(u" 1 ") : View(u" 0 "));
        numbers({a.x, a.y});
        break;
    }
    default:
        return ERROR_INV_NUMBER;
    }
    return SUCCESS;
}

}  // namespace

// ---- Scalars ---------------------------------------------------------------

namespace {

// "%g" with six significant digits for the values it writes without an
// exponent (1e-4 up to a million), done with integer arithmetic: paths and
// point lists are mostly such numbers and the general conversion is slow.
// Gives false, leaving the rest to the exact conversion, for anything else
// and for a value within a hair of a rounding tie.
bool FormatFixedSixDigits(double value, KvChar* buffer)
{
    static constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
    static constexpr uint64_t kIntegerPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000,
                                                  1000000000};
    const double magnitude = std::fabs(value);
    if (!(magnitude >= 1e-4 && magnitude < 999999.5))
        return false;
    // The decimal exponent, by comparison with the powers of ten in range.
    static constexpr double kFloors[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5};
    int exponent = 5;
    while (exponent > -4 && magnitude < kFloors[exponent + 4])
        --exponent;
    const int decimals = 5 - exponent;  // 0 to 9
    const double scaled = magnitude * kPowers[decimals];
    const double whole = std::floor(scaled);
    const double fraction = scaled - whole;
    if (std::fabs(fraction - 0.5) < 1e-6)
        return false;
    const uint64_t digits = static_cast<uint64_t>(whole) + (fraction > 0.5 ? 1 : 0);
    if (digits >= 1000000)
        return false;  // rounds into the next decade: the exponent may change the form
    uint64_t integerPart = digits / kIntegerPowers[decimals];
    uint64_t fractionPart = digits % kIntegerPowers[decimals];
    int fractionDigits = decimals;
    while (fractionDigits > 0 && fractionPart % 10 == 0) {
        fractionPart /= 10;
        --fractionDigits;
    }
    char text[32];
    size_t length = 0;
    if (value < 0)
        text[length++] = '-';
    char reversed[24];
    size_t count = 0;
    do {
        reversed[count++] = static_cast<char>('0' + integerPart % 10);
        integerPart /= 10;
    } while (integerPart != 0);
    while (count > 0)
        text[length++] = reversed[--count];
    if (fractionDigits > 0) {
        text[length++] = '.';
        for (int i = fractionDigits - 1; i >= 0; --i)
            text[length + static_cast<size_t>(i)] = static_cast<char>('0' + fractionPart % 10), fractionPart /= 10;
        length += static_cast<size_t>(fractionDigits);
    }
    for (size_t i = 0; i < length; ++i)
        buffer[i] = static_cast<unsigned char>(text[i]);
    buffer[length] = 0;
    return true;
}

}  // namespace

namespace {
thread_local bool tExactNumbers = false;
}  // namespace

ExactNumberScope::ExactNumberScope(bool exact) : previous_(tExactNumbers)
{
    tExactNumbers = exact || previous_;
}

ExactNumberScope::~ExactNumberScope() { tExactNumbers = previous_; }

void NumberToString(double value, KvChar* buffer)
{
    if (!buffer)
        return;
    if (value == 0 && !std::signbit(value)) {
        buffer[0] = u'0';
        buffer[1] = 0;
        return;
    }
    if (FormatFixedSixDigits(value, buffer))
        return;
    char narrow[kNumberTextCapacity];
    auto [end, error] = std::to_chars(narrow, narrow + sizeof(narrow) - 1, value, std::chars_format::general, 6);
    size_t length = error == std::errc() ? static_cast<size_t>(end - narrow) : 0;
    // The trim looks at the end of the whole text, exponent and all, unless
    // numbers are to keep their value: then only the mantissa is trimmed.
    if (tExactNumbers) {
        const char* exponent = static_cast<const char*>(std::memchr(narrow, 'e', length));
        if (exponent && std::memchr(narrow, '.', static_cast<size_t>(exponent - narrow))) {
            size_t mantissa = static_cast<size_t>(exponent - narrow);
            const size_t tail = length - mantissa;
            size_t kept = mantissa;
            while (kept > 0 && narrow[kept - 1] == '0')
                --kept;
            if (kept > 0 && narrow[kept - 1] == '.')
                --kept;
            std::memmove(narrow + kept, narrow + mantissa, tail);
            length = kept + tail;
        } else if (!exponent && std::memchr(narrow, '.', length)) {
            while (length > 0 && narrow[length - 1] == '0')
                --length;
            if (length > 0 && narrow[length - 1] == '.')
                --length;
        }
    } else if (std::memchr(narrow, '.', length)) {
        while (length > 0 && narrow[length - 1] == '0')
            --length;
        if (length > 0 && narrow[length - 1] == '.')
            --length;
    }
    for (size_t i = 0; i < length; ++i)
        buffer[i] = static_cast<unsigned char>(narrow[i]);
    buffer[length] = 0;
}

int32_t LengthToString(const SvgLength* length, KvChar* buffer)
{
    if (!length || !buffer)
        return ERROR_INV_PARAMETER;
    if (IsUnsetDouble(length->value))
        return kStatusNoValue;
    if (length->unit > SVG_UNIT_MM)
        return ERROR_INV_NUMBER;
    // A pica length is written in millimetres' suffix: the format never
    // writes "pc", and files read back the same way.
    static constexpr View kSuffixes[] = {u"", u"in", u"em", u"ex", u"px", u"mm", u"pt", u"cm", u"mm"};
    View suffix = kSuffixes[length->unit];
    if (length->unit == SVG_UNIT_NONE && length->percent == 1)
        suffix = u"%";
    FixedWideText out(buffer, kNumberTextCapacity);
    out.Append(NumberText(length->value).view());
    out.Append(suffix);
    return SUCCESS;
}

int32_t PercentageToString(const SvgPercentage* percentage, KvChar* buffer, size_t capacity)
{
    if (!percentage || !buffer)
        return ERROR_INV_PARAMETER;
    if (IsUnsetDouble(percentage->value))
        return kStatusNoValue;
    if (percentage->type > SVG_PERCENTAGE_PERCENT)
        return ERROR_INV_NUMBER;
    FixedWideText out(buffer, capacity);
    out.Append(NumberText(percentage->value).view());
    if (percentage->type == SVG_PERCENTAGE_PERCENT)
        out.Append(u"%");
    return SUCCESS;
}

int32_t AngleToString(const SvgAngle* angle, KvChar* buffer)
{
    if (!angle || !buffer)
        return ERROR_INV_PARAMETER;
    if (IsUnsetDouble(angle->value))
        return kStatusNoValue;
    if (angle->unit > SVG_ANGLE_RAD)
        return FAILURE;
    FixedWideText out(buffer, kNumberTextCapacity);
    out.Append(NumberText(angle->value).view());
    if (angle->unit != SVG_ANGLE_NONE)
        out.Append(kAngleUnitKeywords[angle->unit - 1]);
    return SUCCESS;
}

// ---- References and colours ------------------------------------------------

int32_t UriToString(const KvChar* id, KvChar** text)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (!id)
        return SUCCESS;
    View trimmed = TrimRuntimeSpace(WideView(id));
    if (StartsWithIgnoringCase(trimmed, u"url(#"))
        return NewText(trimmed, text);
    auto* wrapped = static_cast<KvChar*>(KV_ALLOC(trimmed.size() + 8, sizeof(KvChar)));
    if (!wrapped)
        return ERROR_NO_MEMORY;
    FixedWideText out(wrapped, trimmed.size() + 8);
    out.Append(u"url(#");
    out.Append(trimmed);
    out.Append(u")");
    *text = wrapped;
    return SUCCESS;
}

int32_t ColorToString(const SvgColor* color, KvChar** text)
{
    if (!color || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (color->kind > SVG_COLOR_RGB)
        return ERROR_INV_NUMBER;
    if (color->kind != SVG_COLOR_RGB)
        return NewTrimmedText(color->text, text);
    // No hexadecimal form is written: components go out as rgb().
    KvChar components[3][20];
    const SvgPercentage* sources[3] = {&color->red, &color->green, &color->blue};
    for (int i = 0; i < 3; ++i) {
        if (int32_t status = PercentageToString(sources[i], components[i], 20); status != SUCCESS)
            return status;
    }
    auto* rgb = static_cast<KvChar*>(KV_ALLOC(100, sizeof(KvChar)));
    if (!rgb)
        return ERROR_NO_MEMORY;
    FixedWideText out(rgb, 100);
    out.Append(u"rgb(");
    out.Append(View(components[0]));
    out.Append(u",");
    out.Append(View(components[1]));
    out.Append(u",");
    out.Append(View(components[2]));
    out.Append(u")");
    *text = rgb;
    return SUCCESS;
}

int32_t PaintToString(const SvgPaint* paint, KvChar** text)
{
    if (!paint || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    switch (paint->kind) {
    case SVG_PAINT_UNSET: return SUCCESS;
    case SVG_PAINT_NONE: return NewText(u"none", text);
    case SVG_PAINT_CURRENT_COLOR: return NewText(u"currentColor", text);
    case SVG_PAINT_REFERENCE: return UriToString(paint->color.text, text);
    default: return ColorToString(&paint->color, text);  // 3 and anything above 4
    }
}

int32_t StopColorToString(const SvgColorValue* color, KvChar** text)
{
    if (!color || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    switch (color->kind) {
    case 0: return SUCCESS;
    case 1: return NewText(u"currentColor", text);
    case 2: return ColorToString(&color->color, text);
    default: return FAILURE;
    }
}

int32_t MarkerRefToString(const SvgReference* marker, KvChar** text)
{
    return NoneOrReferenceToString(marker, text);
}

int32_t ClipPathRefToString(const SvgReference* clipPath, KvChar** text)
{
    return NoneOrReferenceToString(clipPath, text);
}

int32_t ColorProfileToString(const SvgColorProfile* profile, KvChar** text)
{
    if (!profile || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    switch (profile->kind) {
    case 0: return SUCCESS;
    case 1: return NewText(u"auto", text);
    case 2: return NewText(u"sRGB", text);
    case 3: return UriToString(profile->text, text);
    case 4: return NewTrimmedText(profile->text, text);
    default: return FAILURE;
    }
}

// ---- Lists -----------------------------------------------------------------

int32_t LengthListToString(uint32_t count, const SvgLength* values, KvChar** text)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (count == 0)
        return SUCCESS;
    if (!values)
        return ERROR_INV_PARAMETER;
    GrowingText list(50, 50);
    if (!list.Ensure())
        return ERROR_NO_MEMORY;
    int32_t status = SUCCESS;
    for (uint32_t i = 0; i < count; ++i) {
        KvChar piece[kNumberTextCapacity];
        status = LengthToString(&values[i], piece);
        if (status == kStatusNoValue)
            continue;
        if (status != SUCCESS)
            break;
        if (!list.Append(View(piece)) || !list.Append(u" "))
            return ERROR_NO_MEMORY;
    }
    // Even a failed list goes to the caller, who frees it.
    *text = list.Release();
    return status;
}

int32_t NumberListToString(uint32_t count, const double* values, KvChar** text)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (count == 0)
        return SUCCESS;
    if (!values)
        return ERROR_INV_PARAMETER;
    GrowingText list(50, 50);
    if (!list.Ensure())
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i) {
        if (IsUnsetDouble(values[i]))
            continue;
        if (!list.Append(NumberText(values[i]).view()) || !list.Append(u" "))
            return ERROR_NO_MEMORY;
    }
    *text = list.Release();
    return SUCCESS;
}

int32_t DashArrayToString(const SvgDashArray* dashArray, KvChar** text)
{
    if (!dashArray || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    switch (dashArray->kind) {
    case 0: return SUCCESS;
    case 1: return NewText(u"none", text);
    case 2: return LengthListToString(dashArray->count, dashArray->values, text);
    default: return FAILURE;
    }
}

int32_t TransformListToString(const SvgTransformList* list, KvChar** text)
{
    if (!list || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (list->count == 0)
        return SUCCESS;
    if (!list->items)
        return ERROR_INV_PARAMETER;
    GrowingText out(200, 200);
    if (!out.Ensure())
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < list->count; ++i) {
        const SvgTransform& item = list->items[i];
        if (item.type == SVG_TRANSFORM_NONE)
            continue;
        KvChar pieceBuffer[300];
        FixedWideText piece(pieceBuffer, 300);
        if (int32_t status = TransformToText(item, piece); status != SUCCESS)
            return status;
        if (!out.Append(piece.view()) || !out.Append(u" "))
            return ERROR_NO_MEMORY;
    }
    *text = out.Release();
    return SUCCESS;
}

int32_t PathDataToString(const SvgPathData* data, KvChar** text)
{
    if (!data || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (data->count == 0)
        return SUCCESS;
    if (!data->items)
        return ERROR_INV_PARAMETER;
    // Sized up front from the segment count so that long paths grow rarely.
    size_t step = 2 * static_cast<size_t>(data->count);
    if (step < 1024)
        step = 1024;
    GrowingText out(16 * static_cast<size_t>(data->count), step);
    if (!out.Ensure())
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < data->count; ++i) {
        const SvgPathSegment& segment = data->items[i];
        if (segment.relative == SVG_SEGMENT_INVALID || segment.type > SVG_SEGMENT_ARC)
            return ERROR_INV_NUMBER;
        // A line to where the previous line ended adds nothing; only x and y
        // are compared, whatever the H and V flags say.
        if (i > 0 && segment.type == SVG_SEGMENT_LINE && segment.relative == 0) {
            const SvgPathSegment& previous = data->items[i - 1];
            if (previous.type == SVG_SEGMENT_LINE && previous.payload.line.x == segment.payload.line.x &&
                previous.payload.line.y == segment.payload.line.y)
                continue;
        }
        KvChar commandBuffer[200];
        FixedWideText command(commandBuffer, 200);
        if (int32_t status = SegmentToText(segment, command); status != SUCCESS)
            return status;
        if (!out.Append(command.view()) || !out.Append(u" "))
            return ERROR_NO_MEMORY;
    }
    out.Shrink(16);
    *text = out.Release();
    return SUCCESS;
}

int32_t FeaturesToString(uint32_t features, KvChar** text)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (features == 0)
        return SUCCESS;
    KvChar buffer[300];
    FixedWideText out(buffer, 300);
    if ((features & SVG_FEATURE_SVG_ALL) == SVG_FEATURE_SVG_ALL) {
        out.Append(u"org.w3c.svg.all ");
    } else {
        static constexpr struct {
            uint32_t bit;
            View word;
        } kFirst[] = {{SVG_FEATURE_SVG, u"org.w3c.svg "},
                      {SVG_FEATURE_SVG_LANG, u"org.w3c.svg.lang "},
                      {SVG_FEATURE_SVG_STATIC, u"org.w3c.svg.static "},
                      {SVG_FEATURE_SVG_DYNAMIC, u"org.w3c.svg.dynamic "},
                      {SVG_FEATURE_SVG_ANIMATION, u"org.w3c.svg.animation "}};
        for (const auto& item : kFirst) {
            if (features & item.bit)
                out.Append(item.word);
        }
    }
    if ((features & SVG_FEATURE_DOM_ALL) == SVG_FEATURE_DOM_ALL) {
        out.Append(u"org.w3c.dom.svg.all");
    } else {
        static constexpr struct {
            uint32_t bit;
            View word;
        } kSecond[] = {{SVG_FEATURE_DOM, u"org.w3c.dom.svg "},
                       {SVG_FEATURE_DOM_STATIC, u"org.w3c.dom.svg.static "},
                       {SVG_FEATURE_DOM_DYNAMIC, u"org.w3c.dom.svg.dynamic "},
                       {SVG_FEATURE_DOM_ANIMATION, u"org.w3c.dom.svg.animation "}};
        for (const auto& item : kSecond) {
            if (features & item.bit)
                out.Append(item.word);
        }
    }
    return NewText(out.view(), text);
}

int32_t PointsToString(uint32_t count, const SvgPoint* points, KvChar** text)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (count == 0)
        return SUCCESS;
    if (!points)
        return ERROR_INV_PARAMETER;
    GrowingText out(50, 50);
    if (!out.Ensure())
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i) {
        if (!out.Append(NumberText(points[i].x).view()) || !out.Append(u",") ||
            !out.Append(NumberText(points[i].y).view()) || !out.Append(u" "))
            return ERROR_NO_MEMORY;
    }
    *text = out.Release();
    return SUCCESS;
}

// ---- Keyword or value ------------------------------------------------------

int32_t LengthOrAutoToString(const SvgKeywordLength* value, KvChar* buffer)
{
    return KeywordLengthToString(value, u"auto", buffer);
}

int32_t LengthOrNormalToString(const SvgKeywordLength* value, KvChar* buffer)
{
    return KeywordLengthToString(value, u"normal", buffer);
}

int32_t GlyphOrientationVerticalToString(const SvgKeywordAngle* value, KvChar* buffer)
{
    if (!value || !buffer)
        return ERROR_INV_PARAMETER;
    switch (value->kind) {
    case 0: return EmptyBuffer(buffer);
    case 1: return KeywordToBuffer(u"auto", buffer);
    case 2: return AngleToString(&value->angle, buffer);
    default: return FAILURE;
    }
}

int32_t FontSizeAdjustToString(const SvgFontSizeAdjust* value, KvChar* buffer)
{
    if (!value || !buffer)
        return ERROR_INV_PARAMETER;
    switch (value->kind) {
    case 0: return EmptyBuffer(buffer);
    case 1: return KeywordToBuffer(u"none", buffer);
    case 2:
        if (IsUnsetDouble(value->value))
            return EmptyBuffer(buffer);
        NumberToString(value->value, buffer);
        return SUCCESS;
    default: return FAILURE;
    }
}

int32_t BaselineShiftToString(const SvgBaselineShift* value, KvChar* buffer)
{
    if (!value || !buffer)
        return ERROR_INV_PARAMETER;
    switch (value->kind) {
    case 0: return EmptyBuffer(buffer);
    case 1:
    case 2:
    case 3: return KeywordToBuffer(kBaselineShiftKeywords[value->kind - 1], buffer);
    case 4: return PercentageToString(&value->percentage, buffer, kNumberTextCapacity);
    case 5: return LengthToString(&value->length, buffer);
    default: return FAILURE;
    }
}

int32_t DominantBaselineToString(uint32_t value, uint32_t version, KvChar* buffer)
{
    if (!buffer)
        return ERROR_INV_PARAMETER;
    if (value == 0)
        return EmptyBuffer(buffer);
    if (value > kDominantBaselineKeywords.size())
        return FAILURE;
    if ((version == 1 && value >= 11) || (version >= 2 && value == 2))
        return ERROR_INV_NUMBER;
    // Value 8 goes out as "alphbetic": the spelling this format has always had.
    return KeywordToBuffer(kDominantBaselineKeywords[value - 1], buffer);
}

int32_t FontNameToString(const SvgFontName* font, KvChar* buffer)
{
    if (!font || !buffer)
        return ERROR_INV_PARAMETER;
    if (font->kind > kSystemFontKeywords.size())
        return FAILURE;
    FixedWideText out(buffer, kFontNameTextCapacity);
    out.Append(font->kind == 0 ? WideView(font->text) : kSystemFontKeywords[font->kind - 1]);
    return SUCCESS;
}
