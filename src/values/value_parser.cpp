#include "values/value_parser.h"

#include <algorithm>
#include <cstring>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/wide_text.h"

namespace {

bool IsNumberView(std::u16string_view text)
{
    text = TrimRuntimeSpace(text);
    if (text.empty())
        return false;
    bool started = false, digit = false, dot = false, minus = false, exponent = false, exponentSign = false;
    for (char16_t c : text) {
        if (IsAsciiDigit(c)) {
            digit = started = true;
        } else if (c == u'.') {
            if (dot)
                return false;
            dot = started = true;
        } else if (c == u'-' || c == u'+') {
            if (exponent && !exponentSign)
                exponentSign = true;
            else if (c == u'-' && !started && !minus)
                minus = true;
            else
                return false;
        } else if (c == u'e' || c == u'E') {
            if (!started || exponent)
                return false;
            exponent = true;
        } else if (IsRuntimeSpace(c)) {
            if (started)
                return false;
        } else {
            return false;
        }
    }
    return digit;
}

int32_t FindKeyword(std::u16string_view text, const KeywordTable& table)
{
    return table.Find(TrimRuntimeSpace(text));
}

// Grows a tracked array to hold one more entry, by `step` entries or half
// its size, whichever is more.
template <class T>
bool GrowArray(T** items, uint32_t count, uint32_t* capacity, uint32_t first, uint32_t step)
{
    if (count < *capacity)
        return true;
    // By half at least, so that a list of a million numbers is read in
    // linear time rather than copied once per step.
    const uint64_t grownBy = std::max<uint64_t>(step, *capacity / 2);
    const uint64_t wanted64 = *capacity == 0 ? first : uint64_t(*capacity) + grownBy;
    if (wanted64 > (UINT32_MAX / sizeof(T)))
        return false;
    const uint32_t wanted = static_cast<uint32_t>(wanted64);
    void* grown = KV_REALLOC(*items, static_cast<size_t>(wanted) * sizeof(T));
    if (!grown)
        return false;
    *items = static_cast<T*>(grown);
    *capacity = wanted;
    return true;
}

template <class T>
void FreeArray(T** items, uint32_t* count)
{
    if (*items)
        KV_FREE(*items);
    *items = nullptr;
    *count = 0;
}

SvgLength UnsetLength()
{
    SvgLength length{};
    length.size = kSvgLengthSize;
    length.value = UnsetDouble();
    return length;
}

// The part of wcstol(text, &end, 16) that matters here: does it use up the
// whole text? Leading runtime space, a sign and a "0x" are accepted as the
// runtime accepts them.
bool ReadsWhollyAsHex(std::u16string_view text)
{
    auto isHex = [](char16_t c) {
        return IsAsciiDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    };
    size_t i = 0;
    while (i < text.size() && IsRuntimeSpace(text[i]))
        ++i;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    if (i + 2 < text.size() && text[i] == u'0' && (text[i + 1] == u'x' || text[i + 1] == u'X') && isHex(text[i + 2]))
        i += 2;
    size_t digitsStart = i;
    while (i < text.size() && isHex(text[i]))
        ++i;
    return i > digitsStart && i == text.size();
}

}  // namespace

// ---- Text helpers --------------------------------------------------------

int32_t CopyTrimmed(const KvChar* text, KvChar** copy)
{
    if (!copy)
        return ERROR_INV_PARAMETER;
    if (!text) {
        *copy = nullptr;
        return SUCCESS;
    }
    *copy = NewWideCopy(TrimRuntimeSpace(WideView(text)));
    return *copy ? SUCCESS : ERROR_NO_MEMORY;
}

int32_t LookupKeyword(const KvChar* text, const KeywordTable& table, int32_t* index)
{
    if (!text || !index)
        return ERROR_INV_PARAMETER;
    int32_t found = FindKeyword(WideView(text), table);
    if (found < 0)
        return ERROR_UNKNOWN_KEYWORD;
    *index = found;
    return SUCCESS;
}

int32_t IsNumberText(const KvChar* text)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    return IsNumberText(WideView(text));
}

int32_t IsNumberText(std::u16string_view text)
{
    return IsNumberView(text) ? SUCCESS : ERROR_INV_NUMBER;
}

double WideToNumber(const KvChar* text)
{
    return WideToDouble(WideView(text));
}

// ---- Scalars -------------------------------------------------------------

int32_t ParseLength(std::u16string_view text, SvgLength* length)
{
    if (!length)
        return ERROR_INV_PARAMETER;
    text = SkipXmlSpace(text);
    if (text.empty())
        return SUCCESS;
    // The number runs to the last digit; whatever follows is the unit. A
    // text without any digit is all number, and fails as one below.
    size_t lastDigit = text.size();
    for (size_t i = text.size(); i-- > 0;) {
        if (IsAsciiDigit(text[i])) {
            lastDigit = i;
            break;
        }
    }
    std::u16string_view number = text;
    std::u16string_view unitText;
    if (lastDigit < text.size()) {
        number = text.substr(0, lastDigit + 1);
        unitText = TrimXmlSpace(text.substr(lastDigit + 1));
    }
    double value = IsNumberView(number) ? WideToDouble(number) : UnsetDouble();

    static constexpr struct {
        std::u16string_view suffix;
        uint32_t unit;
        uint32_t percent;
    } kUnits[] = {{u"pt", SVG_UNIT_PT, 0}, {u"mm", SVG_UNIT_MM, 0}, {u"cm", SVG_UNIT_CM, 0},
                  {u"px", SVG_UNIT_PX, 0}, {u"in", SVG_UNIT_IN, 0}, {u"em", SVG_UNIT_EM, 0},
                  {u"ex", SVG_UNIT_EX, 0}, {u"pc", SVG_UNIT_PC, 0}, {u"%", SVG_UNIT_NONE, 1}};
    uint32_t unit = SVG_UNIT_NONE;
    uint32_t percent = 0;
    if (!unitText.empty()) {
        bool known = false;
        for (const auto& candidate : kUnits) {
            if (EqualsIgnoringCase(unitText, candidate.suffix)) {
                unit = candidate.unit;
                percent = candidate.percent;
                known = true;
                break;
            }
        }
        if (!known)
            return ERROR_ATTRIBUTE_UNKNOWN;
    }
    length->value = value;
    length->unit = unit;
    length->percent = percent;
    return SUCCESS;
}

int32_t ParsePercentage(std::u16string_view text, SvgPercentage* percentage)
{
    if (!percentage)
        return ERROR_INV_PARAMETER;
    text = SkipXmlSpace(text);
    if (text.empty())
        return ERROR_INV_NUMBER;
    bool dot = false;
    bool anythingGoes = false;
    size_t percentAt = std::u16string_view::npos;
    for (size_t i = 0; i < text.size() && !anythingGoes; ++i) {
        char16_t c = text[i];
        if (IsAsciiDigit(c) || c == u'-')
            continue;
        if (c == u'.') {
            if (dot)
                return ERROR_INV_NUMBER;
            dot = true;
        } else if (c == u'%' && percentAt == std::u16string_view::npos) {
            percentAt = i;
        } else if (c == u'e' || c == u'c' || c == u'C') {
            anythingGoes = true;
        } else {
            return ERROR_INV_NUMBER;
        }
    }
    bool isPercent = percentAt != std::u16string_view::npos;
    percentage->value = WideToDouble(isPercent ? text.substr(0, percentAt) : text);
    percentage->type = isPercent ? SVG_PERCENTAGE_PERCENT : SVG_PERCENTAGE_NUMBER;
    return SUCCESS;
}

int32_t ParseAngle(std::u16string_view text, SvgAngle* angle)
{
    if (!angle)
        return ERROR_INV_PARAMETER;
    text = TrimRuntimeSpace(text);
    bool digit = false, dot = false, minus = false;
    size_t end = 0;
    for (; end < text.size(); ++end) {
        char16_t c = text[end];
        if (IsAsciiDigit(c)) {
            digit = true;
        } else if (c == u'.' && !dot) {
            dot = true;
        } else if (c == u'-' && !minus && !digit && !dot) {
            minus = true;
        } else {
            break;
        }
    }
    if (!digit)
        return ERROR_INV_NUMBER;
    double value = WideToDouble(text.substr(0, end));
    uint32_t unit = SVG_ANGLE_DEG;
    std::u16string_view rest = text.substr(end);
    if (!rest.empty()) {
        int32_t index = FindKeyword(rest, kAngleUnitKeywords);
        if (index < 0)
            return ERROR_UNKNOWN_KEYWORD;
        unit = static_cast<uint32_t>(index) + 1;
    }
    angle->value = value;
    angle->unit = unit;
    return SUCCESS;
}

// ---- Colours, paint, references -----------------------------------------

int32_t ParseHexColor(std::u16string_view text, SvgColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    if ((text.size() != 7 && text.size() != 4) || text[0] != u'#' || !ReadsWhollyAsHex(text.substr(1)))
        return ERROR_INV_NUMBER;
    if (ReplaceWideField(&color->text, text) != SUCCESS)
        return ERROR_NO_MEMORY;
    color->kind = SVG_COLOR_HEX;
    return SUCCESS;
}

int32_t ParseRgbColor(std::u16string_view text, SvgColor* color, int32_t* incomplete)
{
    if (!color || !incomplete)
        return ERROR_INV_PARAMETER;
    if (text.size() > 100 || !StartsWithIgnoringCase(text, u"rgb("))
        return ERROR_INV_NUMBER;
    if (text.back() != u')') {
        *incomplete = 1;
        return SUCCESS;
    }
    // Components are cut at "," and ")" only; blanks stay with the pieces.
    SvgPercentage components[3] = {color->red, color->green, color->blue};
    WideTokenizer pieces(text.substr(4), [](char16_t c) { return c == u',' || c == u')'; });
    std::u16string_view piece;
    uint32_t count = 0;
    while (pieces.Next(piece)) {
        if (count == 3)
            return ERROR_INV_NUMBER;
        SvgPercentage component = components[count];
        if (int32_t status = ParsePercentage(piece, &component); status != SUCCESS)
            return status;
        if (component.type == SVG_PERCENTAGE_PERCENT) {
            component.value = component.value / 100.0 * 255.0;
            component.type = SVG_PERCENTAGE_NUMBER;
        }
        components[count++] = component;
    }
    color->red = components[0];
    color->green = components[1];
    color->blue = components[2];
    color->kind = SVG_COLOR_RGB;
    FreeWideField(&color->text);
    return SUCCESS;
}

int32_t ParseColorName(std::u16string_view text, SvgColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    // Names are checked by the renderer alone: here any word is a colour.
    if (ReplaceWideField(&color->text, text) != SUCCESS)
        return ERROR_NO_MEMORY;
    color->kind = SVG_COLOR_NAME;
    return SUCCESS;
}

int32_t ParseColor(std::u16string_view text, SvgColor* color, int32_t* incomplete)
{
    if (!color || !incomplete)
        return ERROR_INV_PARAMETER;
    *incomplete = 0;
    int32_t status = ParseHexColor(text, color);
    if (status == SUCCESS || status == ERROR_NO_MEMORY)
        return status;
    status = ParseRgbColor(text, color, incomplete);
    if (status == SUCCESS || status == ERROR_NO_MEMORY)
        return status;
    return ParseColorName(text, color);
}

int32_t ParsePaint(std::u16string_view text, SvgPaint* paint)
{
    if (!paint)
        return ERROR_INV_PARAMETER;
    paint->kind = SVG_PAINT_UNSET;
    int32_t keyword = FindKeyword(text, kPaintKeywords);
    if (keyword >= 0) {
        paint->kind = keyword == 0 ? SVG_PAINT_NONE : SVG_PAINT_CURRENT_COLOR;
        return SUCCESS;
    }
    if (!StartsWithIgnoringCase(text, u"url(#")) {
        int32_t incomplete = 0;
        int32_t status = ParseColor(text, &paint->color, &incomplete);
        if (status != SUCCESS)
            return status;
        paint->kind = incomplete ? SVG_PAINT_UNSET : SVG_PAINT_COLOR;
        return SUCCESS;
    }
    int32_t status = ParseReference(text, &paint->color.text);
    if (status == SUCCESS)
        paint->kind = SVG_PAINT_REFERENCE;
    return status;
}

int32_t ParseReference(std::u16string_view text, KvChar** id)
{
    if (!id)
        return ERROR_INV_PARAMETER;
    text = SkipXmlSpace(text);
    if (StartsWithIgnoringCase(text, u"url(#"))
        text.remove_prefix(5);
    size_t close = text.rfind(u')');
    if (close == std::u16string_view::npos)
        return ERROR_INV_NUMBER;
    std::u16string_view inner = text.substr(0, close);
    while (!inner.empty() && IsXmlSpace(inner.back()))
        inner.remove_suffix(1);
    return ReplaceWideField(id, inner);
}

// ---- Lists -----------------------------------------------------------------

int32_t ParseLengthList(std::u16string_view text, SvgLength** values, uint32_t* count)
{
    if (!values || !count)
        return ERROR_INV_PARAMETER;
    FreeArray(values, count);
    uint32_t capacity = 0;
    WideTokenizer pieces(text, IsListDelimiter);
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        if (!GrowArray(values, *count, &capacity, 20, 20))
            return ERROR_NO_MEMORY;
        SvgLength length = UnsetLength();
        if (int32_t status = ParseLength(piece, &length); status != SUCCESS)
            return status;
        (*values)[(*count)++] = length;
    }
    return SUCCESS;
}

int32_t ParseNumberList(std::u16string_view text, double** values, uint32_t* count)
{
    if (!values || !count)
        return ERROR_INV_PARAMETER;
    FreeArray(values, count);
    uint32_t capacity = 0;
    WideTokenizer pieces(text, IsListDelimiter);
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        if (!GrowArray(values, *count, &capacity, 20, 20))
            return ERROR_NO_MEMORY;
        (*values)[(*count)++] = WideToDouble(piece);
    }
    return SUCCESS;
}

int32_t ParseTransformList(std::u16string_view text, SvgTransformList* list)
{
    if (!list)
        return ERROR_INV_PARAMETER;
    FreeArray(&list->items, &list->count);
    static constexpr struct {
        std::u16string_view name;
        uint32_t type;
    } kTypes[] = {{u"matrix", SVG_TRANSFORM_MATRIX}, {u"translate", SVG_TRANSFORM_TRANSLATE},
                  {u"scale", SVG_TRANSFORM_SCALE},   {u"rotate", SVG_TRANSFORM_ROTATE},
                  {u"skewX", SVG_TRANSFORM_SKEWX},   {u"skewY", SVG_TRANSFORM_SKEWY}};
    uint32_t capacity = 0;
    uint32_t argument = 0;
    SvgTransform* current = nullptr;
    WideTokenizer pieces(text, [](char16_t c) { return IsXmlSpace(c) || c == u'(' || c == u')' || c == u','; });
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        uint32_t type = SVG_TRANSFORM_NONE;
        for (const auto& candidate : kTypes) {
            if (piece == candidate.name)
                type = candidate.type;
        }
        if (type != SVG_TRANSFORM_NONE) {
            if (!GrowArray(&list->items, list->count, &capacity, 10, 15))
                return ERROR_NO_MEMORY;
            current = &list->items[list->count++];
            *current = SvgTransform{kSvgTransformSize, type, 0, UnsetDouble(), UnsetDouble(), UnsetDouble(),
                                    UnsetDouble(), UnsetDouble(), UnsetDouble()};
            argument = 0;
            continue;
        }
        if (!current)
            continue;  // numbers before the first keyword belong to nothing
        // Arguments are not checked: whatever is not a keyword reads as atof does.
        double value = WideToDouble(piece);
        switch (current->type) {
        case SVG_TRANSFORM_TRANSLATE:
            if (argument == 0)
                current->a = value;
            else if (argument == 1)
                current->b = value;
            break;
        case SVG_TRANSFORM_SCALE:
            if (argument == 0)
                current->a = current->b = value;
            else if (argument == 1)
                current->b = value;
            break;
        case SVG_TRANSFORM_ROTATE:
            if (argument == 0)
                current->a = value;
            else if (argument == 1)
                current->b = value;
            else if (argument == 2)
                current->c = value;
            break;
        case SVG_TRANSFORM_SKEWX:
        case SVG_TRANSFORM_SKEWY:
            current->a = value;
            break;
        case SVG_TRANSFORM_MATRIX: {
            double* slots[] = {&current->a, &current->b, &current->c, &current->d, &current->e, &current->f};
            if (argument < 6)
                *slots[argument] = value;
            break;
        }
        default:
            break;
        }
        if (argument < 6)
            ++argument;
    }
    return SUCCESS;
}

int32_t ParsePoints(std::u16string_view text, SvgPoint** points, uint32_t* count)
{
    if (!points || !count)
        return ERROR_INV_PARAMETER;
    FreeArray(points, count);
    // The letters among the delimiters cannot occur in a list of numbers; they
    // are there so that escaped line ends ("&#xD;&#xA;") vanish.
    WideTokenizer pieces(text, [](char16_t c) {
        return IsListDelimiter(c) || c == u'&' || c == u'#' || c == u'x' || c == u'D' || c == u';' || c == u'A';
    });
    uint32_t capacity = 0;
    bool haveX = false;
    double x = 0;
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        while (!piece.empty()) {
            // A minus inside a piece starts the next number: "10-20" is two.
            size_t split = piece.find(u'-', 1);
            std::u16string_view number = piece.substr(0, split);
            piece = split == std::u16string_view::npos ? std::u16string_view() : piece.substr(split);
            if (!IsNumberView(number)) {
                FreeArray(points, count);
                return ERROR_INV_NUMBER;
            }
            double value = WideToDouble(number);
            if (!haveX) {
                x = value;
                haveX = true;
                continue;
            }
            if (!GrowArray(points, *count, &capacity, 20, 20)) {
                FreeArray(points, count);
                return ERROR_NO_MEMORY;
            }
            (*points)[(*count)++] = SvgPoint{x, value};
            haveX = false;
        }
    }
    if (haveX) {
        FreeArray(points, count);
        return ERROR_INV_POINTS;
    }
    return SUCCESS;
}

int32_t ParseViewBox(std::u16string_view text, SvgViewBox* box)
{
    if (!box)
        return ERROR_INV_PARAMETER;
    double numbers[4] = {};
    uint32_t count = 0;
    int32_t status = SUCCESS;
    WideTokenizer pieces(text, IsListDelimiter);
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        if (count == 4)
            return ERROR_INV_NUMBER;
        // Each piece's verdict replaces the last one's, so only a bad height
        // survives to the end: a negative width is kept, a negative height is
        // refused. Files depend on that asymmetry.
        status = IsNumberView(piece) ? SUCCESS : ERROR_INV_NUMBER;
        numbers[count] = WideToDouble(piece);
        if (count >= 2 && numbers[count] < 0)
            status = ERROR_INV_NUMBER;
        ++count;
    }
    if (count < 4)
        return ERROR_INV_NUMBER;
    if (status != SUCCESS)
        return status;
    box->x = numbers[0];
    box->y = numbers[1];
    box->width = numbers[2];
    box->height = numbers[3];
    return SUCCESS;
}

int32_t ParsePreserveAspectRatio(std::u16string_view text, SvgPreserveAspectRatio* ratio)
{
    if (!ratio)
        return ERROR_INV_PARAMETER;
    WideTokenizer pieces(text, IsListDelimiter);
    std::u16string_view piece;
    if (!pieces.Next(piece))
        return SUCCESS;
    int32_t align = FindKeyword(piece, kAlignKeywords);
    if (align < 0)
        return ERROR_UNKNOWN_KEYWORD;
    ratio->align = static_cast<uint32_t>(align) + 1;
    if (!pieces.Next(piece))
        return SUCCESS;
    int32_t meetOrSlice = FindKeyword(piece, kMeetOrSliceKeywords);
    if (meetOrSlice < 0)
        return ERROR_UNKNOWN_KEYWORD;
    ratio->meetOrSlice = static_cast<uint32_t>(meetOrSlice) + 1;
    return SUCCESS;
}

int32_t ParseTextDecoration(std::u16string_view text, uint32_t* decoration)
{
    if (!decoration)
        return ERROR_INV_PARAMETER;
    uint32_t bits = 0;
    WideTokenizer pieces(text, IsListDelimiter);
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        int32_t index = FindKeyword(piece, kTextDecorationKeywords);
        if (index < 0)
            return ERROR_INV_NUMBER;
        bits |= 1u << index;
    }
    *decoration = bits;
    return SUCCESS;
}

int32_t ParseFeatures(std::u16string_view text, uint32_t* features)
{
    if (!features)
        return ERROR_INV_PARAMETER;
    uint32_t bits = 0;
    WideTokenizer pieces(text, IsXmlSpace);
    std::u16string_view piece;
    while (pieces.Next(piece)) {
        int32_t index = FindKeyword(piece, kFeatureKeywords);
        if (index >= 0)
            bits |= FeatureBits(static_cast<uint32_t>(index));
    }
    *features = bits;
    return SUCCESS;
}

uint32_t ParseVersion(std::u16string_view text)
{
    if (!IsNumberView(text))
        return 0;
    double value = WideToDouble(text);
    if (value == 1.0)
        return 1;
    if (value == 1.1)
        return 2;
    return 0;
}

// ---- Keyword or value ----------------------------------------------------

int32_t ParseEnumValue(std::u16string_view text, const KeywordTable& table, uint32_t* field)
{
    if (!field)
        return ERROR_INV_PARAMETER;
    int32_t index = FindKeyword(text, table);
    if (index < 0)
        return ERROR_UNKNOWN_KEYWORD;
    *field = static_cast<uint32_t>(index) + 1;
    return SUCCESS;
}

int32_t ParseNumberValue(std::u16string_view text, double* field)
{
    if (!field)
        return ERROR_INV_PARAMETER;
    if (IsNumberView(text))
        *field = WideToDouble(text);
    return SUCCESS;
}

namespace {

int32_t ParseNoneOrReference(std::u16string_view text, const KeywordTable& table, SvgReference* reference)
{
    if (!reference)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, table) >= 0) {
        reference->kind = 1;
        return SUCCESS;
    }
    if (!StartsWithIgnoringCase(SkipXmlSpace(text), u"url(#"))
        return ERROR_UNKNOWN_KEYWORD;
    int32_t status = ParseReference(text, &reference->id);
    if (status == SUCCESS)
        reference->kind = 2;
    return status;
}

}  // namespace

int32_t ParseClipPathValue(std::u16string_view text, SvgReference* clipPath)
{
    return ParseNoneOrReference(text, kClipPathKeywords, clipPath);
}

int32_t ParseMarkerValue(std::u16string_view text, SvgReference* marker)
{
    return ParseNoneOrReference(text, kMarkerKeywords, marker);
}

int32_t ParseColorProfileValue(std::u16string_view text, SvgColorProfile* profile)
{
    if (!profile)
        return ERROR_INV_PARAMETER;
    if (int32_t index = FindKeyword(text, kColorProfileKeywords); index >= 0) {
        profile->kind = static_cast<uint32_t>(index) + 1;
        return SUCCESS;
    }
    int32_t status;
    uint32_t kind;
    if (StartsWithIgnoringCase(SkipXmlSpace(text), u"url(#")) {
        status = ParseReference(text, &profile->text);
        kind = 3;
    } else {
        status = ReplaceWideField(&profile->text, TrimRuntimeSpace(text));
        kind = 4;
    }
    if (status == SUCCESS)
        profile->kind = kind;
    return status;
}

int32_t ParseColorValue(std::u16string_view text, SvgColorValue* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kCurrentColorKeywords) >= 0) {
        color->kind = 1;
        return SUCCESS;
    }
    int32_t incomplete = 0;
    int32_t status = ParseColor(text, &color->color, &incomplete);
    if (status != SUCCESS)
        return status;
    if (color->color.text || color->color.kind != 0)
        color->kind = 2;
    return SUCCESS;
}

int32_t ParseDashArrayValue(std::u16string_view text, SvgDashArray* dashArray)
{
    if (!dashArray)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kDashArrayKeywords) >= 0) {
        FreeArray(&dashArray->values, &dashArray->count);
        dashArray->kind = 1;
        return SUCCESS;
    }
    int32_t status = ParseLengthList(text, &dashArray->values, &dashArray->count);
    if (status == SUCCESS)
        dashArray->kind = 2;
    return status;
}

int32_t ParseClipRectValue(std::u16string_view text, SvgKeywordLength* side)
{
    if (!side)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kClipRectKeywords) >= 0) {
        side->kind = 1;
        return SUCCESS;
    }
    int32_t status = ParseLength(text, &side->length);
    if (status == SUCCESS)
        side->kind = 2;
    return status;
}

int32_t ParseFontNameValue(std::u16string_view text, SvgFontName* font)
{
    if (!font)
        return ERROR_INV_PARAMETER;
    if (int32_t index = FindKeyword(text, kSystemFontKeywords); index >= 0) {
        font->kind = static_cast<uint32_t>(index) + 1;
        return SUCCESS;
    }
    int32_t status = ReplaceWideField(&font->text, TrimRuntimeSpace(text));
    if (status == SUCCESS)
        font->kind = 0;
    return status;
}

int32_t ParseFontSizeAdjustValue(std::u16string_view text, SvgFontSizeAdjust* adjust)
{
    if (!adjust)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kFontSizeAdjustKeywords) >= 0) {
        adjust->kind = 1;
    } else if (IsNumberView(text)) {
        adjust->value = WideToDouble(text);
        adjust->kind = 2;
    }
    return SUCCESS;
}

int32_t ParseSpacingValue(std::u16string_view text, SvgKeywordLength* spacing)
{
    if (!spacing)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kSpacingNormalKeywords) >= 0) {
        spacing->kind = 1;
        return SUCCESS;
    }
    int32_t status = ParseLength(text, &spacing->length);
    if (status == SUCCESS && !IsUnsetDouble(spacing->length.value))
        spacing->kind = 2;
    return status;
}

int32_t ParseKerningValue(std::u16string_view text, SvgKeywordLength* kerning)
{
    if (!kerning)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kKerningKeywords) >= 0) {
        kerning->kind = 1;
        return SUCCESS;
    }
    // The kind stays as it was: a kerning length read from text is stored
    // but not marked, so it is never written back. Documents rely on that.
    return ParseLength(text, &kerning->length);
}

int32_t ParseGlyphOrientationVerticalValue(std::u16string_view text, SvgKeywordAngle* orientation)
{
    if (!orientation)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kGlyphOrientationKeywords) >= 0) {
        orientation->kind = 1;
        return SUCCESS;
    }
    // As with kerning, the angle is kept without its kind.
    return ParseAngle(text, &orientation->angle);
}

int32_t ParseOrientValue(std::u16string_view text, SvgKeywordAngle* orient)
{
    if (!orient)
        return ERROR_INV_PARAMETER;
    if (FindKeyword(text, kOrientKeywords) >= 0) {
        orient->kind = 1;
        return SUCCESS;
    }
    int32_t status = ParseAngle(text, &orient->angle);
    if (status == SUCCESS)
        orient->kind = 2;
    return status;
}

int32_t ParseBaselineShiftValue(std::u16string_view text, SvgBaselineShift* shift)
{
    if (!shift)
        return ERROR_INV_PARAMETER;
    if (int32_t index = FindKeyword(text, kBaselineShiftKeywords); index >= 0) {
        shift->kind = static_cast<uint32_t>(index) + 1;
        return SUCCESS;
    }
    if (ParseLength(text, &shift->length) == SUCCESS) {
        shift->kind = 5;
    } else if (IsNumberView(text)) {
        shift->percentage.value = WideToDouble(text);
        shift->percentage.type = SVG_PERCENTAGE_PERCENT;
        shift->kind = 4;
    }
    return SUCCESS;
}

int32_t ParseFontWeightValue(std::u16string_view text, uint32_t* weight)
{
    size_t comma = text.find(u',');
    if (comma != std::u16string_view::npos)
        text = text.substr(0, comma);
    return ParseEnumValue(text, kFontWeightKeywords, weight);
}

int32_t ParseDominantBaselineValue(std::u16string_view text, uint32_t version, uint32_t flags, uint32_t* baseline)
{
    if (!baseline)
        return ERROR_INV_PARAMETER;
    int32_t index = FindKeyword(text, kDominantBaselineKeywords);
    if (index < 0)
        return SUCCESS;
    uint32_t value = static_cast<uint32_t>(index) + 1;
    // 1.0 knows the first ten words; 1.1 dropped "autosense-script".
    bool refused = (version == 1 && value >= 11) || (version >= 2 && value == 2);
    if (!refused) {
        *baseline = value;
        return SUCCESS;
    }
    if (flags & kReadDropVersionErrors) {
        *baseline = 0;
        return SUCCESS;
    }
    return ERROR_INV_NUMBER;
}

// ---- Zero-terminated twins ------------------------------------------------

#define KV_TEXT_TWIN(name, Record)                                  \
    int32_t name(const KvChar* text, Record* record)                \
    {                                                               \
        if (!text || !record)                                       \
            return ERROR_INV_PARAMETER;                             \
        return name(WideView(text), record);                        \
    }

KV_TEXT_TWIN(ParseLength, SvgLength)
KV_TEXT_TWIN(ParsePercentage, SvgPercentage)
KV_TEXT_TWIN(ParseAngle, SvgAngle)
KV_TEXT_TWIN(ParseHexColor, SvgColor)
KV_TEXT_TWIN(ParseColorName, SvgColor)
KV_TEXT_TWIN(ParsePaint, SvgPaint)
KV_TEXT_TWIN(ParseReference, KvChar*)
KV_TEXT_TWIN(ParseTransformList, SvgTransformList)
KV_TEXT_TWIN(ParsePathData, SvgPathData)
KV_TEXT_TWIN(ParseViewBox, SvgViewBox)
KV_TEXT_TWIN(ParsePreserveAspectRatio, SvgPreserveAspectRatio)
KV_TEXT_TWIN(ParseTextDecoration, uint32_t)
KV_TEXT_TWIN(ParseFeatures, uint32_t)
#undef KV_TEXT_TWIN

int32_t ParseColor(const KvChar* text, SvgColor* color, int32_t* incomplete)
{
    if (!text || !color || !incomplete)
        return ERROR_INV_PARAMETER;
    return ParseColor(WideView(text), color, incomplete);
}

int32_t ParseRgbColor(const KvChar* text, SvgColor* color, int32_t* incomplete)
{
    if (!text || !color || !incomplete)
        return ERROR_INV_PARAMETER;
    return ParseRgbColor(WideView(text), color, incomplete);
}

int32_t ParseLengthList(const KvChar* text, SvgLength** values, uint32_t* count)
{
    if (!text || !values || !count)
        return ERROR_INV_PARAMETER;
    return ParseLengthList(WideView(text), values, count);
}

int32_t ParseNumberList(const KvChar* text, double** values, uint32_t* count)
{
    if (!text || !values || !count)
        return ERROR_INV_PARAMETER;
    return ParseNumberList(WideView(text), values, count);
}

int32_t ParsePoints(const KvChar* text, SvgPoint** points, uint32_t* count)
{
    if (!text || !points || !count)
        return ERROR_INV_PARAMETER;
    return ParsePoints(WideView(text), points, count);
}

uint32_t ParseVersion(const KvChar* text)
{
    return text ? ParseVersion(WideView(text)) : 0;
}
