#include "legacy/adv_xml_parser.h"

#include <sys/mman.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "kvsvg/kvsvg.h"

using namespace AdvXMLParser;

namespace {

struct Parsed {
    int32_t status;
    ParseError error;
    std::unique_ptr<Document> document;
};

Parsed Parse(std::string_view text)
{
    Parsed parsed;
    parsed.status = ParseDocument(text.data(), text.size(), &parsed.document, &parsed.error);
    return parsed;
}

// The kinds of a container's children, one letter each, for compact checks.
std::string Kinds(const NodeContainer& container)
{
    std::string kinds;
    for (const auto& child : container.GetChildren()) {
        switch (child->GetType()) {
        case NodeType::Element: kinds += 'E'; break;
        case NodeType::Text: kinds += 'T'; break;
        case NodeType::CData: kinds += 'D'; break;
        case NodeType::Comment: kinds += 'C'; break;
        case NodeType::Pi: kinds += 'P'; break;
        case NodeType::EntityRef: kinds += 'R'; break;
        default: kinds += '?'; break;
        }
    }
    return kinds;
}

constexpr std::string_view kEveryKind =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" standalone='no'?>\n"
    "<!-- made by hand -->\n"
    "<?editor keep?>\n"
    "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" \"svg11.dtd\" [\n"
    "  <!ENTITY ns_svg \"http://www.w3.org/2000/svg\">\n"
    "  <!ENTITY greeting \"Hello &who;\">\n"
    "  <!ENTITY who 'W&#111;rld'>\n"
    "  <!ENTITY who 'ignored, the first declaration wins'>\n"
    "  <!ENTITY % param \"thrown away\">\n"
    "  <!ENTITY logo SYSTEM \"logo.png\" NDATA png>\n"
    "  <!NOTATION png SYSTEM \"image/png\">\n"
    "  <!NOTATION gif PUBLIC \"-//Gif 89a//EN\">\n"
    "  <!ELEMENT svg (g|text)*>\n"
    "  <!ELEMENT g ((rect,circle?)+|EMPTY_NAME)>\n"
    "  <!ELEMENT text (#PCDATA|tspan)*>\n"
    "  <!ELEMENT rect EMPTY>\n"
    "  <!ATTLIST svg xmlns CDATA #FIXED \"&ns_svg;\" version NMTOKEN #IMPLIED id ID #REQUIRED>\n"
    "  <!ATTLIST g kind (a|b|c) 'a' ref IDREFS #IMPLIED pic ENTITY #IMPLIED fmt NOTATION (png|gif) #IMPLIED>\n"
    "  <!-- in the subset -->\n"
    "  <?subset pi?>\n"
    "]>\n"
    "<svg xmlns=\"&ns_svg;\" id='root' title=\"a &amp; b &lt;&#x41;&gt;\">"
    "<text>&greeting;, fish &amp; chips<![CDATA[ <raw> & ]]></text>"
    "<!-- inside --><?render fast?>"
    "<g kind=\"b\"><rect/><rect x='1'></rect></g>"
    "</svg>";

}  // namespace

TEST(AdvXmlParser, BuildsEveryKindOfNode)
{
    Parsed parsed = Parse(kEveryKind);
    ASSERT_EQ(parsed.status, SUCCESS) << parsed.error.number << " at " << parsed.error.line << ":"
                                      << parsed.error.column;
    const Document& document = *parsed.document;
    EXPECT_EQ(document.GetName(), "#document");
    EXPECT_EQ(document.GetVersion(), "1.0");
    EXPECT_EQ(document.GetEncoding(), "ISO-8859-1");
    EXPECT_EQ(document.GetStandalone(), "no");
    // The prolog's comment and instruction belong to the document; nothing
    // of the internal subset enters the tree.
    EXPECT_EQ(Kinds(document), "CPE");
    EXPECT_EQ(document.GetChild(0)->GetName(), "#comment");
    EXPECT_EQ(document.GetChild(0)->GetValue(), " made by hand ");
    EXPECT_EQ(document.GetChild(1)->GetName(), "editor");
    EXPECT_EQ(document.GetChild(1)->GetValue(), "keep");

    // Only general entities are kept, the first declaration of each.
    const auto& entities = document.GetEntities();
    EXPECT_EQ(entities.size(), 4u);
    EXPECT_EQ(entities.at("ns_svg"), "http://www.w3.org/2000/svg");
    EXPECT_EQ(entities.at("greeting"), "Hello &who;");
    EXPECT_EQ(entities.at("who"), "World");
    EXPECT_EQ(entities.at("logo"), "");
    EXPECT_EQ(document.FindEntity("param"), nullptr);

    const Element* svg = document.GetRootElement();
    ASSERT_NE(svg, nullptr);
    EXPECT_EQ(svg->GetName(), "svg");
    EXPECT_EQ(svg->GetDocument(), &document);
    ASSERT_EQ(svg->GetAttributes().size(), 3u);
    std::string value;
    ASSERT_TRUE(svg->GetAttributeValue("xmlns", &value));
    EXPECT_EQ(value, "http://www.w3.org/2000/svg");
    const Attribute* title = svg->GetAttribute("title");
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->GetRawValue(), "a &amp; b &lt;A&gt;");
    EXPECT_EQ(title->GetValue(), "a & b <A>");
    EXPECT_EQ(Kinds(*title), "T");
    EXPECT_FALSE(svg->GetAttributeValue("missing", &value));

    EXPECT_EQ(Kinds(*svg), "ECPE");
    const Element* text = svg->GetFirstElement("text");
    ASSERT_NE(text, nullptr);
    // The entity reference ends the text; predefined references stay in it.
    EXPECT_EQ(Kinds(*text), "RTD");
    EXPECT_EQ(text->GetChild(0)->GetName(), "greeting");
    EXPECT_EQ(text->GetChild(0)->GetValue(), "Hello World");
    EXPECT_EQ(static_cast<const Text*>(text->GetChild(1))->GetRawText(), ", fish &amp; chips");
    EXPECT_EQ(text->GetChild(2)->GetName(), "#cdata-section");
    EXPECT_EQ(text->GetValue(), "Hello World, fish & chips <raw> & ");
    EXPECT_EQ(svg->GetChild(1)->GetValue(), " inside ");
    EXPECT_EQ(svg->GetChild(2)->GetName(), "render");
    EXPECT_EQ(svg->GetChild(2)->GetValue(), "fast");

    const Element* g = svg->GetFirstElement("g");
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(Kinds(*g), "EE");
    EXPECT_EQ(g->GetElements("rect").size(), 2u);
    EXPECT_EQ(g->GetElements("rect")[1]->GetAttributes().size(), 1u);
    EXPECT_EQ(g->GetParent(), svg);
}

TEST(AdvXmlParser, DeclarationDefaultsAndPositions)
{
    Parsed parsed = Parse("<svg>\r\n  <g/>\n\n   <rect/></svg>");
    ASSERT_EQ(parsed.status, SUCCESS);
    EXPECT_EQ(parsed.document->GetVersion(), "");
    EXPECT_EQ(parsed.document->GetEncoding(), "UTF-8");
    const Element* svg = parsed.document->GetRootElement();
    // CR LF is one line break; lines and columns count from 1, and an
    // element is where its "<" is.
    const Element* g = svg->GetFirstElement("g");
    EXPECT_EQ(g->GetLine(), 2);
    EXPECT_EQ(g->GetColumn(), 3);
    const Element* rect = svg->GetFirstElement("rect");
    EXPECT_EQ(rect->GetLine(), 4);
    EXPECT_EQ(rect->GetColumn(), 4);
    EXPECT_EQ(svg->GetChild(0)->GetLine(), 1);
    EXPECT_EQ(svg->GetChild(0)->GetColumn(), 6);
    Parsed other = Parse("<a>\n <!--c-->x<b k='v'/></a>");
    ASSERT_EQ(other.status, SUCCESS);
    const Element* late = other.document->GetRootElement();
    EXPECT_EQ(late->GetChild(1)->GetColumn(), 2);  // the comment
    EXPECT_EQ(late->GetChild(2)->GetColumn(), 10); // the text
    const Attribute* k = late->GetFirstElement("b")->GetAttribute("k");
    EXPECT_EQ(k->GetLine(), 2);
    EXPECT_EQ(k->GetColumn(), 14);
    EXPECT_EQ(k->GetChild(0)->GetColumn(), 17);
    // Text keeps the line break as one LF.
    EXPECT_EQ(static_cast<const Text*>(svg->GetChild(0))->GetRawText(), "\n  ");
}

TEST(AdvXmlParser, ExpandsCharacterReferencesToOneByteBeforeParsing)
{
    const struct {
        std::string_view body;
        std::string_view value;  // the text of the root, or empty when the parse fails
        int number;
    } cases[] = {
        {"&#65;&#x42;&#X43;", "", 6},  // "X" is not the hexadecimal mark
        {"&#65;&#x42;&#x63;", "ABc", 0},
        {"caf&#xE9;", "caf\xE9", 0},
        {"&#255;", "\xFF", 0},
        {"&#256;", "", 6},     // a result must fit one byte
        {"&#x100;", "", 6},
        {"&#65", "", 6},       // no ";"
        {"&#;", "", 6},
        {"&#x;", "", 6},
        {"&#38;amp;", "&", 0}, // an expanded "&" is read as markup afterwards
        {"&#60;b/>", "", 0},   // and so is an expanded "<": an element
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.body));
        Parsed parsed = Parse("<t>" + std::string(c.body) + "</t>");
        if (c.number) {
            EXPECT_EQ(parsed.status, ERROR_FILE_FORMAT);
            EXPECT_EQ(parsed.error.number, c.number);
            EXPECT_EQ(parsed.error.line, 1);
            EXPECT_GT(parsed.error.column, 3);
            EXPECT_EQ(parsed.document, nullptr);
            continue;
        }
        ASSERT_EQ(parsed.status, SUCCESS);
        EXPECT_EQ(parsed.document->GetRootElement()->GetValue(), c.value);
    }
    Parsed markup = Parse("<t>&#60;b/></t>");
    ASSERT_EQ(markup.status, SUCCESS);
    EXPECT_NE(markup.document->GetRootElement()->GetFirstElement("b"), nullptr);
}

TEST(AdvXmlParser, ExpandsGeneralEntitiesInTextAndAttributes)
{
    Parsed parsed = Parse(
        "<!DOCTYPE svg [<!ENTITY a 'x&b;z'><!ENTITY b \"&lt;y&gt;\"><!ENTITY ext SYSTEM 'f.txt'>]>"
        "<svg v='[&a;] [&undeclared;] [&amp;] [& alone]'>&a;|&undeclared;|&ext;|&b;</svg>");
    ASSERT_EQ(parsed.status, SUCCESS);
    const Element* svg = parsed.document->GetRootElement();
    std::string value;
    ASSERT_TRUE(svg->GetAttributeValue("v", &value));
    // Undeclared and external entities stand for nothing; a lone "&" stays.
    EXPECT_EQ(value, "[x<y>z] [] [&] [& alone]");
    EXPECT_EQ(Kinds(*svg), "RTRTRTR");
    EXPECT_EQ(svg->GetValue(), "x<y>z|||<y>");
}

TEST(AdvXmlParser, ReadsUtf16AndMarkedUtf8LikePlainText)
{
    const std::string plain = "<svg a='1'>x\ny</svg>";
    std::string little("\xFF\xFE", 2), big("\xFE\xFF", 2);
    for (char c : plain) {
        little += c, little += '\0';
        big += '\0', big += c;
    }
    const std::string marked = "\xEF\xBB\xBF" + plain;
    for (const std::string& input : {little, big, marked}) {
        Parsed parsed = Parse(input);
        ASSERT_EQ(parsed.status, SUCCESS);
        const Element* svg = parsed.document->GetRootElement();
        EXPECT_EQ(svg->GetName(), "svg");
        EXPECT_EQ(svg->GetValue(), "x\ny");
        std::string a;
        EXPECT_TRUE(svg->GetAttributeValue("a", &a));
        EXPECT_EQ(a, "1");
    }
}

TEST(AdvXmlParser, TagsTextRunsSpansAndReferences)
{
    Parsed parsed = Parse(
        "<svg><text>  One\n\ttwo <tspan>three  <tspan>four</tspan></tspan>"
        "<tref xlink:href='#t'/>&apos;end&apos;</text>"
        "<text xml:space='preserve'>  a\tb  <tspan> c </tspan></text></svg>");
    ASSERT_EQ(parsed.status, SUCCESS);
    auto texts = parsed.document->GetRootElement()->GetElements("text");
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0]->GetTaggedText(),
              "<STRING>One two</STRING><TSPAN><STRING>three</STRING><TSPAN><STRING>four</STRING></TSPAN></TSPAN>"
              "<TREF>#t</TREF><STRING>'end'</STRING>");
    // A tspan takes xml:space from its own attribute, not from its parent.
    EXPECT_EQ(texts[1]->GetTaggedText(), "<STRING>  a b  </STRING><TSPAN><STRING>c</STRING></TSPAN>");
}

TEST(AdvXmlParser, NumbersEverySyntaxFault)
{
    const struct {
        std::string_view input;
        int number;
    } cases[] = {
        {"<svg>", 1},
        {"<svg a='1", 1},
        {"<svg><!-- open", 1},
        {"<svg><![CDATA[ open", 1},
        {"<svg a></svg>", 3},
        {"<svg a=1></svg>", 4},
        {"<svg a='<'></svg>", 5},
        {"<svg>&;</svg>", 6},
        {"<svg>&name</svg>", 7},
        {"<!DOCTYPE s [<!ENTITY e 'a & b'>]><s/>", 8},
        {"<!DOCTYPE s [<!ENTITY e 'a %p; b'>]><s/>", 8},
        {"<svg></ ></svg>", 10},
        {"<svg a='1'b='2'/>", 11},
        {"<svg a='1' a='2'/>", 11},
        {"<svg =x/>", 11},
        {"<svg/ >", 12},
        {"<svg></svg", 12},
        {"<svg></g>", 13},
        {"<svg><1/></svg>", 14},
        {"<svg>a]>b</svg>", 15},
        {"", 16},
        {"just text", 16},
        {"<svg/><svg/>", 16},
        {"<svg/>trailing", 16},
        {"<?xml encoding='UTF-8'?><svg/>", 17},
        {"<?xml version='1.0'<svg/>", 18},
        {"<?xml version='1.0' encoding=UTF-8?><svg/>", 19},
        {"<?xml version='1.0' encoding='8bit'?><svg/>", 20},
        {"<?xml version='1.0' standalone=yes?><svg/>", 21},
        {"<?xml version='1.0' standalone='maybe'?><svg/>", 22},
        {"<svg><!-- a -- b --></svg>", 23},
        {"<svg><![CDATA ]]></svg>", 24},
        {"<svg><![INCLUDE[ x ]]></svg>", 24},
        {"<svg><?xml bad?></svg>", 25},
        {"<svg><? no target?></svg>", 25},
        {"<!DOCTYPE><svg/>", 26},
        {"<!DOCTYPE svg [ junk ]><svg/>", 26},
        {"<!DOCTYPE svg [ %pe; ]><svg/>", 26},
        {"<!DOCTYPE svg SYSTEM><svg/>", 27},
        {"<!DOCTYPE svg PUBLIC 'id'><svg/>", 27},
        {"<!DOCTYPE svg PUBLIC 'a{b' 'x'><svg/>", 28},
        {"<!DOCTYPE s [<!ELEMENT s>]><s/>", 29},
        {"<!DOCTYPE s [<!ELEMENT s ANY>]><s/>", 29},
        {"<!DOCTYPE s [<!ELEMENT s (#PCDATA|g)>]><s/>", 30},
        {"<!DOCTYPE s [<!ELEMENT s (a,b|c)>]><s/>", 32},
        {"<!DOCTYPE s [<!ELEMENT s ()>]><s/>", 32},
        {"<!DOCTYPE s [<!ATTLIST>]><s/>", 33},
        {"<!DOCTYPE s [<!ATTLIST s 1 CDATA #IMPLIED>]><s/>", 34},
        {"<!DOCTYPE s [<!ATTLIST s x BOGUS #IMPLIED>]><s/>", 35},
        {"<!DOCTYPE s [<!ATTLIST s x (a|) #IMPLIED>]><s/>", 36},
        {"<!DOCTYPE s [<!ATTLIST s x CDATA bogus>]><s/>", 37},
        {"<!DOCTYPE s [<!ENTITY>]><s/>", 38},
        {"<!DOCTYPE s [<!ENTITY e 'v' extra>]><s/>", 38},
        {"<!DOCTYPE s [<!ENTITY e SYSTEM 'x' NDATA >]><s/>", 39},
        {"<!DOCTYPE s [<!NOTATION n OTHER>]><s/>", 40},
        {"<!DOCTYPE s [<!NOTATION n SYSTEM>]><s/>", 41},
        {"<!DOCTYPE s [<!NOTATION n PUBLIC 'a{'>]><s/>", 42},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.input));
        Parsed parsed = Parse(c.input);
        EXPECT_EQ(parsed.status, ERROR_FILE_FORMAT);
        EXPECT_EQ(parsed.error.number, c.number);
        EXPECT_EQ(parsed.document, nullptr);
    }
}

TEST(AdvXmlParser, ReportsTheLineAndColumnOfAFault)
{
    Parsed parsed = Parse("<svg>\r\n  <g>\n    </h>\n</svg>");
    EXPECT_EQ(parsed.error.number, 13);
    EXPECT_EQ(parsed.error.line, 3);
    EXPECT_EQ(parsed.error.column, 7);
    // The thrown form carries the same, and a message naming them.
    const std::string input = "<a>\n<b c></b></a>";
    try {
        Parser().Parse(input.data(), input.size());
        ADD_FAILURE() << "no exception";
    } catch (const ParsingException& fault) {
        EXPECT_EQ(fault.GetNumber(), 3);
        EXPECT_EQ(fault.GetLine(), 2);
        EXPECT_EQ(fault.GetColumn(), 5);
        EXPECT_EQ(fault.GetMessage(), "XML parsing error 3 at line 2, column 5");
    }
}

TEST(AdvXmlParser, EveryTruncationOfADocumentFailsCleanly)
{
    // The full document ends with the root's ">", so every shorter prefix
    // is unfinished and must give a status, never a crash or a tree.
    const std::string_view full = kEveryKind;
    for (size_t length = 0; length < full.size(); ++length) {
        SCOPED_TRACE(length);
        Parsed parsed = Parse(full.substr(0, length));
        EXPECT_NE(parsed.status, SUCCESS);
        EXPECT_NE(parsed.error.number, 0);
        EXPECT_EQ(parsed.document, nullptr);
    }
    EXPECT_EQ(Parse(full).status, SUCCESS);
}

namespace {

// Reads everything a caller can read from a tree, so that a broken tree
// shows under the sanitizers.
void ReadAll(const NodeContainer& container, size_t& total)
{
    total += container.GetValue().size();
    for (const auto& child : container.GetChildren()) {
        total += child->GetName().size() + child->GetValue().size();
        if (child->GetType() == NodeType::Element) {
            const auto& element = static_cast<const Element&>(*child);
            total += element.GetTaggedText().size();
            for (const auto& attribute : element.GetAttributes())
                total += attribute->GetValue().size();
            ReadAll(element, total);
        }
    }
}

}  // namespace

TEST(AdvXmlParser, EveryByteReplacedByMarkupGivesATreeOrAStatus)
{
    const std::string full(kEveryKind);
    const char replacements[] = {'<', '>', '&', '"', ']', ';', '\0', '%'};
    size_t parsed = 0;
    for (size_t i = 0; i < full.size(); ++i) {
        for (char replacement : replacements) {
            std::string mutated = full;
            mutated[i] = replacement;
            Parsed result = Parse(mutated);
            ASSERT_EQ(result.status == SUCCESS, result.error.number == 0) << i;
            ASSERT_EQ(result.status == SUCCESS, result.document != nullptr) << i;
            if (result.document) {
                size_t total = 0;
                ReadAll(*result.document, total);
                ++parsed;
            }
        }
    }
    // Some replacements land in text or comments and still read.
    EXPECT_GT(parsed, 100u);
}

TEST(AdvXmlParser, RefusesArgumentsItCannotRead)
{
    std::unique_ptr<Document> document;
    ParseError error;
    EXPECT_EQ(ParseDocument("<a/>", 4, nullptr, &error), ERROR_INV_PARAMETER);
    EXPECT_EQ(ParseDocument(nullptr, 4, &document, &error), ERROR_INV_PARAMETER);
    EXPECT_EQ(document, nullptr);
    EXPECT_EQ(ParseDocument(nullptr, 0, &document, &error), ERROR_FILE_FORMAT);
    EXPECT_EQ(error.number, 16);
    // A document already held is replaced, and dropped on failure.
    ASSERT_EQ(ParseDocument("<a/>", 4, &document, nullptr), SUCCESS);
    EXPECT_EQ(ParseDocument("<a>", 3, &document, nullptr), ERROR_FILE_FORMAT);
    EXPECT_EQ(document, nullptr);
}

// Hostile documents: each must end at once with a status.
TEST(AdvXmlParser, StopsEntityBombsAtParseTime)
{
    std::string laughs = "<!DOCTYPE lolz [<!ENTITY lol0 'lol'>";
    for (int level = 1; level <= 10; ++level) {
        laughs += "<!ENTITY lol" + std::to_string(level) + " '";
        for (int i = 0; i < 10; ++i)
            laughs += "&lol" + std::to_string(level - 1) + ";";
        laughs += "'>";
    }
    laughs += "]><lolz>&lol10;</lolz>";

    // Quadratic growth: a long entity referred to many times.
    std::string quadratic = "<!DOCTYPE q [<!ENTITY big '" + std::string(100000, 'x') + "'>]><q a='";
    for (int i = 0; i < 100; ++i)
        quadratic += "&big;";
    quadratic += "'/>";

    // The same ten levels over an entity that is never declared: no text,
    // but ten billion references to walk.
    std::string silent = laughs;
    silent.replace(silent.find("<!ENTITY lol0 'lol'>"), 20, "");

    std::string chain = "<!DOCTYPE c [<!ENTITY e0 'end'>";
    for (int level = 1; level <= 100; ++level)
        chain += "<!ENTITY e" + std::to_string(level) + " '&e" + std::to_string(level - 1) + ";'>";
    chain += "]><c>&e100;</c>";

    const struct {
        const char* name;
        std::string input;
        int32_t status;
        int number;
    } cases[] = {
        {"billion laughs", laughs, ERROR_MAX_ELEMENTS, kErrorEntityExpansion},
        {"billion silent laughs", silent, ERROR_MAX_ELEMENTS, kErrorEntityExpansion},
        {"quadratic blow-up in an attribute", quadratic, ERROR_MAX_ELEMENTS, kErrorEntityExpansion},
        {"entities nested past the bound", chain, ERROR_MAX_ELEMENTS, kErrorEntityExpansion},
        {"entity that refers to itself", "<!DOCTYPE s [<!ENTITY e 'a&e;'>]><s>&e;</s>", ERROR_FILE_FORMAT,
         kErrorEntityRecursion},
        {"entities that refer to each other", "<!DOCTYPE s [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><s x='&a;'/>",
         ERROR_FILE_FORMAT, kErrorEntityRecursion},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Parsed parsed = Parse(c.input);
        EXPECT_EQ(parsed.status, c.status);
        EXPECT_EQ(parsed.error.number, c.number);
        EXPECT_EQ(parsed.document, nullptr);
    }

    // Bombs that are declared but never set off cost nothing.
    std::string unused = laughs.substr(0, laughs.find("]>")) + "<!ENTITY self '&self;'>]><lolz/>";
    EXPECT_EQ(Parse(unused).status, SUCCESS);
}

TEST(AdvXmlParser, BoundsNestingDepth)
{
    std::string deep;
    for (int i = 0; i < 5000; ++i)
        deep += "<g>";
    Parsed parsed = Parse(deep);
    EXPECT_EQ(parsed.status, ERROR_MAX_ELEMENTS);
    EXPECT_EQ(parsed.error.number, kErrorTooDeep);

    std::string model = "<!DOCTYPE s [<!ELEMENT s " + std::string(5000, '(') + "a" + std::string(5000, ')') + ">]><s/>";
    parsed = Parse(model);
    EXPECT_EQ(parsed.status, ERROR_MAX_ELEMENTS);
    EXPECT_EQ(parsed.error.number, kErrorTooDeep);

    // A thousand levels are fine and unwind without trouble.
    std::string fine;
    for (int i = 0; i < 1000; ++i)
        fine += "<g>";
    fine += "leaf";
    for (int i = 0; i < 1000; ++i)
        fine += "</g>";
    parsed = Parse(fine);
    ASSERT_EQ(parsed.status, SUCCESS);
    EXPECT_EQ(parsed.document->GetRootElement()->GetValue(), "leaf");
}

TEST(AdvXmlParser, RefusesAGigabyteInputBeforeReadingIt)
{
    // A gigabyte of address space that costs nothing until it is touched:
    // a reader that copied or scanned it would take seconds and the memory.
    const size_t size = size_t(1) << 30;
    void* block = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    std::unique_ptr<Document> document;
    ParseError error;
    EXPECT_EQ(ParseDocument(block, size, &document, &error), ERROR_MAX_ELEMENTS);
    EXPECT_EQ(error.number, kErrorInputTooLarge);
    munmap(block, size);
}
