// Attribute values: one value set on an element of a fixed document that
// holds every kind of element, then read back through the element's record,
// written back from it, and the document saved. The input is text of the
// form "ELEMENT ATTRIBUTE=VALUE" ("path d=M0 0L10 10"); an element the
// document lacks means the root, and a missing "=" makes the whole text the
// value of "style".
#include <string>
#include <string_view>

#include "fuzz_support.h"

namespace {

using kvfuzz::Document;

constexpr char kFixedDocument[] =
    R"~(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="64" height="64">)~"
    R"~(<defs><linearGradient id="lg"><stop offset="0" stop-color="red"/></linearGradient>)~"
    R"~(<radialGradient id="rg"/><pattern id="pt" width="4" height="4"/><clipPath id="cp"/>)~"
    R"~(<marker id="mk"/><symbol id="sy"/><mask id="ms"/><style>rect{fill:red}</style>)~"
    R"~(<font><glyph/><missing-glyph/><hkern/><vkern/><font-face><font-face-src><font-face-uri>)~"
    R"~(<font-face-format/></font-face-uri><font-face-name/></font-face-src></font-face></font>)~"
    R"~(<color-profile/><altGlyphDef><altGlyphItem><glyphRef/></altGlyphItem></altGlyphDef></defs>)~"
    R"~(<title>t</title><desc>d</desc><g><rect/><circle/><ellipse/><line/><polyline/><polygon/><path/></g>)~"
    R"~(<switch><use xlink:href="#sy"/></switch><image width="1" height="1"/><a><definition-src/></a>)~"
    R"~(<text>x<tspan>y</tspan><tref/><textPath>z</textPath><altGlyph/></text></svg>)~";

struct SavedText {
    void* block = nullptr;
    size_t size = 0;
    ~SavedText() { K_SvgFreeMemory(block); }
};

// A node handle freed on every path.
struct Node {
    SvgHandle handle = nullptr;
    ~Node()
    {
        if (handle)
            K_SvgFreeNode(handle);
    }
};

// A reference is written as it was read when its id itself begins with
// "url(#", so "url(#url(#a) red" comes back as "url(#a", without the
// parenthesis its reader needs: that asymmetry is part of the contract.
bool IsReferenceToAReference(std::u16string_view value)
{
    std::u16string lower(value);
    for (char16_t& c : lower)
        c = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    size_t first = lower.find(u"url(#");
    if (first == std::u16string::npos)
        return false;
    size_t rest = lower.find_first_not_of(u" \t\r\n\f\v", first + 5);
    return rest != std::u16string::npos && lower.compare(rest, 5, u"url(#") == 0;
}

// A paint that begins with white space before "url(#" is no reference to
// the paint reader: it keeps the text as a colour and writes it back
// trimmed, and the trimmed text reads as a reference, one that fails
// without its ")". The reader's contract, like the case above.
bool IsSpacedReferenceText(std::u16string_view value)
{
    const size_t start = value.find_first_not_of(u" \t\r\n\f\v");
    if (start == 0 || start == std::u16string_view::npos || value.size() - start < 5)
        return false;
    std::u16string head(value.substr(start, 5));
    for (char16_t& c : head)
        c = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    return head == u"url(#";
}

void SetAndReadBack(SvgHandle element, const std::u16string& name, const std::u16string& value)
{
    K_SvgSetElementAttributeValue(element, name.c_str(), value.c_str());
    KvChar* stored = nullptr;
    K_SvgGetElementAttributeValue(element, name.c_str(), &stored);
    K_SvgFreeMemory(stored);

    uint32_t type = 0;
    K_SvgGetElementType(element, &type);
    uint32_t size = kvfuzz::RecordSizeOf(type);
    if (size == 0)
        return;
    kvfuzz::RecordBuffer record;
    if (K_SvgInitElement(record.bytes, type, size) != SUCCESS)
        kvfuzz::Fail("K_SvgInitElement refused a known type", type);
    if (K_SvgGetElement(element, record.bytes, size) == SUCCESS) {
        K_SvgSetElement(element, record.bytes);
        // What the record wrote must read back.
        kvfuzz::RecordBuffer again;
        K_SvgInitElement(again.bytes, type, size);
        int32_t status = K_SvgGetElement(element, again.bytes, size);
        K_SvgFreeElement(again.bytes, type);
        KvChar* written = nullptr;
        K_SvgGetElementAttributeValue(element, name.c_str(), &written);
        std::u16string writtenText = written ? std::u16string(written) : std::u16string();
        K_SvgFreeMemory(written);
        // Numbers print as the runtime prints them, infinities as "inf" and
        // "nan", which no reader takes back: a value that overflowed on the
        // way in cannot round-trip, by contract.
        bool nonFinite = writtenText.find(u"inf") != std::u16string::npos ||
                         writtenText.find(u"nan") != std::u16string::npos;
        if (status != SUCCESS && !nonFinite && !IsReferenceToAReference(value) && !IsSpacedReferenceText(value)) {
            kvfuzz::Report("set", value);
            kvfuzz::Report("written back", writtenText);
            kvfuzz::Fail("a record written back does not read again", status);
        }
    }
    K_SvgFreeElement(record.bytes, type);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string_view elementName;
    std::string_view attributeName = "style";
    std::string_view value = text;
    size_t equals = text.find('=');
    if (equals != std::string_view::npos) {
        std::string_view head = text.substr(0, equals);
        value = text.substr(equals + 1);
        size_t space = head.find(' ');
        elementName = space == std::string_view::npos ? std::string_view() : head.substr(0, space);
        attributeName = space == std::string_view::npos ? head : head.substr(space + 1);
    }
    std::u16string name = kvfuzz::WideFromBytes(attributeName);
    std::u16string wideValue = kvfuzz::WideFromBytes(value);

    Document document;
    SvgLoadOptions options{kSvgLoadOptionsSize, 0, 0};
    if (K_SvgLoadDocumentMemory(kFixedDocument, sizeof(kFixedDocument) - 1, document.out(), &options) != SUCCESS)
        kvfuzz::Fail("the fixed document does not load");
    Node element;
    bool plainName = !elementName.empty() &&
                     elementName.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-") ==
                         std::string_view::npos;
    if (plainName) {
        std::u16string path = u"//*[local-name()='" + kvfuzz::WideFromBytes(elementName) + u"']";
        K_SvgSelectSingleNode(document.get(), path.c_str(), &element.handle);
    }
    if (!element.handle)
        K_SvgSelectSingleNode(document.get(), u"/*", &element.handle);
    if (!element.handle)
        kvfuzz::Fail("the fixed document has no root");

    SetAndReadBack(element.handle, name, wideValue);
    SavedText saved;
    K_SvgSaveDocumentMemory(document.get(), &saved.block, &saved.size, nullptr);
    return 0;
}
