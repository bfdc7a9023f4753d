#include "legacy/adv_xml_parser.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <set>
#include <stdexcept>
#include <utility>

#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "kvsvg/kvsvg.h"

// Syntax fault numbers, kept as the older reader numbered them:
//   1  end of input where more is required
//   3  attribute without "="          4  attribute without a quoted value
//   5  "<" in an attribute value
//   6  "&" without a name, or a broken character reference
//   7  entity reference without ";"  8  broken reference in an entity value
//   10 start or end tag without a name
//   11 bad attribute or repeated attribute in a start tag
//   12 start or end tag without its ">"
//   13 end tag that does not name the open element
//   14 "<" that starts no markup      15 "]>" in character data
//   16 prolog: no root element, or more after it
//   17 declaration without version   18 declaration without "?>"
//   19, 20 encoding: no value, bad name
//   21, 22 standalone: no value, neither "yes" nor "no"
//   23 comment holding "--"          24 "<![" that does not open CDATA
//   25 processing instruction target
//   26 DOCTYPE                        27 external identifier
//   28 public identifier             29, 30, 32 "<!ELEMENT" and its model
//   33 to 37 "<!ATTLIST": name, attribute name, type, enumeration, default
//   38, 39 "<!ENTITY": declaration, NDATA
//   40, 41, 42 "<!NOTATION": declaration, system and public identifier
// and, beyond them, the bounds of base/safety_limits.h (adv_xml_parser.h).
namespace AdvXMLParser {

namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
// Bytes of UTF-8 sequences count as name characters: the reader does not
// decode, and every non-ASCII letter is one.
bool IsNameStart(char c) { return IsLetter(c) || c == '_' || c == ':' || static_cast<unsigned char>(c) >= 0x80; }
bool IsNameChar(char c) { return IsNameStart(c) || IsDigit(c) || c == '-' || c == '.'; }
bool IsPubidChar(char c)
{
    return IsLetter(c) || IsDigit(c) || (c != 0 && std::strchr(" \r\n-'()+,./:=?;!*#@$_%", c) != nullptr);
}

// The five references that stand for a character in any XML document.
const char* PredefinedEntity(std::string_view name)
{
    if (name == "amp")
        return "&";
    if (name == "lt")
        return "<";
    if (name == "gt")
        return ">";
    if (name == "apos")
        return "'";
    if (name == "quot")
        return "\"";
    return nullptr;
}

// Calls visit(name) for each "&name;" in text, and appends the pieces
// between them through literal(begin, end). Stray "&" stays literal.
template <class Literal, class Visit>
void ScanReferences(std::string_view text, Literal literal, Visit visit)
{
    size_t copied = 0;
    size_t i = 0;
    while ((i = text.find('&', i)) != std::string_view::npos) {
        size_t nameEnd = i + 1;
        while (nameEnd < text.size() && IsNameChar(text[nameEnd]))
            ++nameEnd;
        if (nameEnd == i + 1 || nameEnd >= text.size() || text[nameEnd] != ';' || !IsNameStart(text[i + 1])) {
            ++i;
            continue;
        }
        literal(text.substr(copied, i - copied));
        visit(text.substr(i + 1, nameEnd - i - 1));
        i = copied = nameEnd + 1;
    }
    literal(text.substr(copied));
}

void AppendExpanded(const Document* document, std::string_view text, std::string& out, size_t depth);

// The text one reference stands for: a predefined character, a declared
// entity's replacement text expanded in turn, or nothing. The depth bound
// guards trees that were built by hand rather than parsed (a parsed tree has
// had its entities measured, so its cycles were refused).
void AppendEntity(const Document* document, std::string_view name, std::string& out, size_t depth)
{
    if (const char* character = PredefinedEntity(name)) {
        out.append(character);
        return;
    }
    const std::string* value = document ? document->FindEntity(name) : nullptr;
    if (value && depth < kvlimits::kMaxLegacyEntityNesting)
        AppendExpanded(document, *value, out, depth + 1);
}

// Expands predefined and declared general entities of text.
void AppendExpanded(const Document* document, std::string_view text, std::string& out, size_t depth)
{
    ScanReferences(
        text, [&](std::string_view piece) { out.append(piece); },
        [&](std::string_view name) { AppendEntity(document, name, out, depth); });
}

std::string DecodePredefined(std::string_view raw)
{
    std::string out;
    out.reserve(raw.size());
    ScanReferences(
        raw, [&](std::string_view piece) { out.append(piece); },
        [&](std::string_view name) {
            if (const char* character = PredefinedEntity(name)) {
                out.append(character);
            } else {
                out.push_back('&');
                out.append(name);
                out.push_back(';');
            }
        });
    return out;
}

// SVG's white-space rules for text: by default line breaks go, tabs become
// blanks, runs of blanks shrink to one and the ends are trimmed; under
// "preserve" line breaks and tabs become blanks and nothing else changes.
std::string CollapseSpace(std::string_view text, bool preserve)
{
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        if (preserve) {
            out.push_back(c == '\n' || c == '\r' || c == '\t' ? ' ' : c);
            continue;
        }
        if (c == '\n' || c == '\r')
            continue;
        if (c == '\t')
            c = ' ';
        if (c == ' ' && (out.empty() || out.back() == ' '))
            continue;
        out.push_back(c);
    }
    if (!preserve && !out.empty() && out.back() == ' ')
        out.pop_back();
    return out;
}

}  // namespace

// ---- Nodes ------------------------------------------------------------------

Document* Node::GetDocument() const
{
    const Node* node = this;
    while (node->parent_)
        node = node->parent_;
    return node->GetType() == NodeType::Document ? const_cast<Document*>(static_cast<const Document*>(node)) : nullptr;
}

Node* NodeContainer::AddChild(std::unique_ptr<Node> child)
{
    child->parent_ = this;
    // Containers are small; growing 1, 2, 4 costs three allocations where
    // one will do.
    if (children_.empty())
        children_.reserve(4);
    children_.push_back(std::move(child));
    return children_.back().get();
}

std::vector<Element*> NodeContainer::GetElements(std::string_view name) const
{
    std::vector<Element*> elements;
    for (const auto& child : children_) {
        if (child->GetType() == NodeType::Element && (name.empty() || child->GetName() == name))
            elements.push_back(static_cast<Element*>(child.get()));
    }
    return elements;
}

Element* NodeContainer::GetFirstElement(std::string_view name) const
{
    for (const auto& child : children_) {
        if (child->GetType() == NodeType::Element && (name.empty() || child->GetName() == name))
            return static_cast<Element*>(child.get());
    }
    return nullptr;
}

std::string NodeContainer::GetValue() const
{
    std::string value;
    for (const auto& child : children_) {
        NodeType type = child->GetType();
        if (type != NodeType::Comment && type != NodeType::Pi)
            value += child->GetValue();
    }
    return value;
}

const std::string& Attribute::GetRawValue() const
{
    static const std::string empty;
    const Node* text = GetChild(0);
    return text && text->GetType() == NodeType::Text ? static_cast<const Text*>(text)->GetRawText() : empty;
}

std::string Attribute::GetValue() const
{
    std::string value;
    AppendExpanded(GetDocument(), GetRawValue(), value, 0);
    return value;
}

Attribute* Element::GetAttribute(std::string_view name) const
{
    for (const auto& attribute : attributes_) {
        if (attribute->GetName() == name)
            return attribute.get();
    }
    return nullptr;
}

bool Element::GetAttributeValue(std::string_view name, std::string* value) const
{
    const Attribute* attribute = GetAttribute(name);
    if (!attribute)
        return false;
    if (value)
        *value = attribute->GetValue();
    return true;
}

Attribute* Element::AddAttribute(std::unique_ptr<Attribute> attribute)
{
    attribute->parent_ = this;
    if (attributes_.empty())
        attributes_.reserve(8);
    attributes_.push_back(std::move(attribute));
    return attributes_.back().get();
}

std::string Element::GetTaggedText() const
{
    std::string tagged;
    std::string run;
    bool preserve = false;
    auto flush = [&] {
        if (!run.empty())
            tagged += "<STRING>" + CollapseSpace(run, preserve) + "</STRING>";
        run.clear();
    };
    for (const auto& child : GetChildren()) {
        switch (child->GetType()) {
        case NodeType::Text:
            preserve = static_cast<const Text*>(child.get())->IsSpacePreserved();
            run += child->GetValue();
            break;
        case NodeType::CData:
        case NodeType::EntityRef:
        case NodeType::CharRef:
            run += child->GetValue();
            break;
        case NodeType::Element: {
            const auto* element = static_cast<const Element*>(child.get());
            if (element->GetName() == "tspan") {
                flush();
                tagged += "<TSPAN>" + element->GetTaggedText() + "</TSPAN>";
            } else if (element->GetName() == "tref") {
                flush();
                std::string target;
                if (!element->GetAttributeValue("xlink:href", &target))
                    element->GetAttributeValue("href", &target);
                tagged += "<TREF>" + target + "</TREF>";
            }
            break;
        }
        default:
            break;
        }
    }
    flush();
    return tagged;
}

Document::Document() { KV_TRACK(this); }
Document::~Document() { KV_UNTRACK(this); }

void Document::SetDeclaration(std::string version, std::string encoding, std::string standalone)
{
    version_ = std::move(version);
    encoding_ = std::move(encoding);
    standalone_ = std::move(standalone);
}

bool Document::AddEntity(std::string name, std::string value)
{
    return entities_.emplace(std::move(name), std::move(value)).second;
}

const std::string* Document::FindEntity(std::string_view name) const
{
    auto found = entities_.find(name);
    return found == entities_.end() ? nullptr : &found->second;
}

std::string EntityRef::GetValue() const
{
    std::string value;
    AppendEntity(GetDocument(), GetName(), value, 0);
    return value;
}

std::string CharRef::GetValue() const { return std::string(1, static_cast<char>(code_ & 0xFF)); }

std::string Text::GetValue() const { return DecodePredefined(raw_); }

ParsingException::ParsingException(int number, int line, int column)
    : Exception("XML parsing error " + std::to_string(number) + " at line " + std::to_string(line) + ", column " +
                std::to_string(column)),
      number_(number),
      line_(line),
      column_(column)
{
}

// ---- The scanner ------------------------------------------------------------

namespace {

// The input after its character references were expanded, read one byte
// at a time with the line and column of the byte last read.
struct Scanner {
    const std::string* buffer;
    size_t position = 0;
    int line = 1;
    int column = 0;
    int previousColumn = 0;

    struct Mark {
        size_t position;
        int line;
        int column;
    };
    Mark Save() const { return {position, line, column}; }
    void Restore(const Mark& mark) { position = mark.position, line = mark.line, column = mark.column; }

    // 0 is the end of input: past the end the position still moves, so that
    // Back returns to the same place.
    char Next()
    {
        if (position >= buffer->size()) {
            ++position;
            return 0;
        }
        char c = (*buffer)[position++];
        if (c == '\r') {
            if (position < buffer->size() && (*buffer)[position] == '\n')
                ++position;
            c = '\n';
        }
        previousColumn = column;
        if (c == '\n') {
            ++line;
            column = 0;
        } else {
            ++column;
        }
        return c;
    }

    void Back()
    {
        if (position == 0) {
            line = column = 1;
            return;
        }
        --position;
        if (position >= buffer->size())
            return;
        char c = (*buffer)[position];
        if (c == '\n' && position > 0 && (*buffer)[position - 1] == '\r')
            --position, c = '\r';
        if (c == '\n' || c == '\r')
            --line;
        column = previousColumn;
    }

    [[noreturn]] void Fail(int number) const { throw ParsingException(number, line, std::max(column, 1)); }

    // What Next would return, without moving.
    char Peek() const
    {
        if (position >= buffer->size())
            return 0;
        char c = (*buffer)[position];
        return c == '\r' ? '\n' : c;
    }

    // Takes in one step a run of bytes up to the first that `stops` (line
    // breaks and the end always stop it, since they need Next's care). The
    // text and attribute loops spend most of their time here.
    template <class Stops>
    void TakeRun(std::string& out, Stops stops)
    {
        size_t end = position;
        const size_t size = buffer->size();
        while (end < size) {
            char c = (*buffer)[end];
            if (c == '\r' || c == '\n' || c == 0 || stops(c))
                break;
            ++end;
        }
        if (end == position)
            return;
        out.append(*buffer, position, end - position);
        column += static_cast<int>(end - position);
        previousColumn = column - 1;
        position = end;
    }

    bool Match(std::string_view keyword)
    {
        Mark mark = Save();
        for (char expected : keyword) {
            if (Next() != expected) {
                Restore(mark);
                return false;
            }
        }
        return true;
    }

    bool SkipSpace()
    {
        bool skipped = false;
        while (IsSpace(Peek())) {
            Next();
            skipped = true;
        }
        return skipped;
    }

    void RequireSpace(int number)
    {
        if (!SkipSpace())
            Fail(number);
    }

    bool ReadName(std::string& name)
    {
        name.clear();
        if (!IsNameStart(Peek()))
            return false;
        while (IsNameChar(Peek()))
            name.push_back(Next());
        return true;
    }

    std::string RequireName(int number)
    {
        std::string name;
        if (!ReadName(name))
            Fail(number);
        return name;
    }

    void Require(char expected, int number)
    {
        if (Next() != expected)
            Fail(number);
    }

    // A literal in single or double quotes; end of input inside is error 1.
    std::string ReadQuoted(int number)
    {
        char quote = Next();
        if (quote != '"' && quote != '\'')
            Fail(number);
        std::string value;
        for (char c = Next(); c != quote; c = Next()) {
            if (c == 0)
                Fail(1);
            value.push_back(c);
        }
        return value;
    }

    // Everything up to the terminator, which is consumed.
    std::string ReadUntil(std::string_view terminator)
    {
        std::string text;
        while (!Match(terminator)) {
            char c = Next();
            if (c == 0)
                Fail(1);
            text.push_back(c);
        }
        return text;
    }
};

// The line and column of an offset in the prepared buffer, for faults found
// before the scanner runs.
std::pair<int, int> LineAndColumnAt(const std::string& text, size_t offset)
{
    int line = 1;
    int column = 1;
    for (size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return {line, column};
}

// UTF-16 input (by its mark) is thinned to the low byte of each character;
// a UTF-8 mark is dropped.
std::string NarrowInput(const unsigned char* bytes, size_t size)
{
    if (size >= 2 && ((bytes[0] == 0xFE && bytes[1] == 0xFF) || (bytes[0] == 0xFF && bytes[1] == 0xFE))) {
        bool bigEndian = bytes[0] == 0xFE;
        std::string narrow;
        narrow.reserve(size / 2);
        for (size_t i = 2; i + 1 < size; i += 2)
            narrow.push_back(static_cast<char>(bigEndian ? bytes[i + 1] : bytes[i]));
        return narrow;
    }
    if (size >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        return std::string(reinterpret_cast<const char*>(bytes) + 3, size - 3);
    return std::string(reinterpret_cast<const char*>(bytes), size);
}

// Replaces every "&#n;" and "&#xh;" by its byte. A reference without its
// ";", without digits, or above 255 (the result is one byte) fails at the
// reference.
void ExpandCharRefs(std::string& text)
{
    if (text.find("&#") == std::string::npos)
        return;
    std::string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        if (text[i] != '&' || i + 1 >= text.size() || text[i + 1] != '#') {
            out.push_back(text[i++]);
            continue;
        }
        size_t k = i + 2;
        bool hex = k < text.size() && text[k] == 'x';
        if (hex)
            ++k;
        uint32_t value = 0;
        size_t digits = 0;
        for (; k < text.size(); ++k, ++digits) {
            char c = text[k];
            uint32_t digit;
            if (IsDigit(c))
                digit = uint32_t(c - '0');
            else if (hex && c >= 'a' && c <= 'f')
                digit = uint32_t(c - 'a' + 10);
            else if (hex && c >= 'A' && c <= 'F')
                digit = uint32_t(c - 'A' + 10);
            else
                break;
            value = value * (hex ? 16 : 10) + digit;
            if (value > 255)
                break;
        }
        if (digits == 0 || value > 255 || k >= text.size() || text[k] != ';') {
            auto [line, column] = LineAndColumnAt(text, i);
            throw ParsingException(6, line, column);
        }
        out.push_back(static_cast<char>(value));
        i = k + 1;
    }
    text = std::move(out);
}

// ---- Entity budget ----------------------------------------------------------

// Measures, before anything is expanded, how long each referenced entity
// becomes, and refuses a self-reference or a total past the bound. Every
// reference also costs the step of looking it up, also one that stands for
// nothing: ten levels of ten references to an undeclared entity expand to
// no text but take ten billion steps. The lengths saturate just past the
// bound, so no sum overflows.
class EntityBudget {
public:
    explicit EntityBudget(const Document& document) : document_(document) {}

    void Charge(std::string_view name, int line, int column)
    {
        line_ = line, column_ = column;
        total_ = Add(total_, Cost(name, 0));
        if (total_ > kvlimits::kMaxLegacyEntityExpansion)
            throw ParsingException(kErrorEntityExpansion, line_, column_);
    }

    // Every declared entity referenced in a raw text.
    void ChargeText(std::string_view text, int line, int column)
    {
        ScanReferences(
            text, [](std::string_view) {}, [&](std::string_view name) { Charge(name, line, column); });
    }

private:
    static size_t Add(size_t a, size_t b) { return std::min(a + b, kvlimits::kMaxLegacyEntityExpansion + 1); }

    // What expanding one reference costs: its text and the step.
    size_t Cost(std::string_view name, size_t depth)
    {
        return Add(LengthOf(name, depth), kvlimits::kLegacyEntityReferenceCost);
    }

    size_t LengthOf(std::string_view name, size_t depth)
    {
        if (PredefinedEntity(name))
            return 1;
        const std::string* value = document_.FindEntity(name);
        if (!value)
            return 0;
        std::string key(name);
        if (auto known = lengths_.find(key); known != lengths_.end())
            return known->second;
        if (visiting_.count(key))
            throw ParsingException(kErrorEntityRecursion, line_, column_);
        if (depth >= kvlimits::kMaxLegacyEntityNesting)
            throw ParsingException(kErrorEntityExpansion, line_, column_);
        visiting_.insert(key);
        size_t length = 0;
        ScanReferences(
            *value, [&](std::string_view piece) { length = Add(length, piece.size()); },
            [&](std::string_view inner) { length = Add(length, Cost(inner, depth + 1)); });
        visiting_.erase(key);
        lengths_.emplace(std::move(key), length);
        return length;
    }

    const Document& document_;
    std::map<std::string, size_t> lengths_;
    std::set<std::string> visiting_;
    size_t total_ = 0;
    int line_ = 1;
    int column_ = 1;
};

// ---- The reader -------------------------------------------------------------

class Reader {
public:
    Reader(Scanner& scanner, Document& document) : s_(scanner), document_(document), budget_(document) {}

    void ReadDocument()
    {
        ReadDeclaration();
        ReadMisc(document_);
        if (s_.Match("<!DOCTYPE")) {
            ReadDoctype();
            ReadMisc(document_);
        }
        auto mark = s_.Save();
        if (s_.Next() != '<' || !IsNameStart(s_.Peek())) {
            s_.Restore(mark);
            s_.Next();
            s_.Fail(16);
        }
        ReadElementTree(document_);
        ReadMisc(document_);
        if (s_.Next() != 0)
            s_.Fail(16);
    }

private:
    template <class T>
    T* Add(NodeContainer& parent, std::unique_ptr<T> node, const Scanner::Mark& at)
    {
        SetPosition(*node, at);
        T* raw = node.get();
        parent.AddChild(std::move(node));
        return raw;
    }

    static void SetPosition(Node& node, const Scanner::Mark& at) { node.SetPosition(at.line, std::max(at.column, 1)); }

    void ReadDeclaration()
    {
        auto mark = s_.Save();
        if (!s_.Match("<?xml") || !IsSpace(s_.Peek())) {
            s_.Restore(mark);
            return;
        }
        s_.SkipSpace();
        if (!s_.Match("version"))
            s_.Fail(17);
        ReadEquals(17);
        std::string version = s_.ReadQuoted(17);
        std::string encoding = "UTF-8";
        std::string standalone;
        bool spaced = s_.SkipSpace();
        if (spaced && s_.Match("encoding")) {
            ReadEquals(19);
            encoding = s_.ReadQuoted(19);
            if (encoding.empty() || !IsLetter(encoding[0]) ||
                !std::all_of(encoding.begin(), encoding.end(),
                             [](char c) { return IsLetter(c) || IsDigit(c) || c == '.' || c == '_' || c == '-'; }))
                s_.Fail(20);
            spaced = s_.SkipSpace();
        }
        if (spaced && s_.Match("standalone")) {
            ReadEquals(21);
            standalone = s_.ReadQuoted(21);
            if (standalone != "yes" && standalone != "no")
                s_.Fail(22);
            s_.SkipSpace();
        }
        if (!s_.Match("?>"))
            s_.Fail(18);
        document_.SetDeclaration(std::move(version), std::move(encoding), std::move(standalone));
    }

    void ReadEquals(int number)
    {
        s_.SkipSpace();
        s_.Require('=', number);
        s_.SkipSpace();
    }

    // White space, comments and processing instructions around the root.
    void ReadMisc(NodeContainer& parent)
    {
        for (;;) {
            s_.SkipSpace();
            auto at = s_.Save();
            ++at.column;  // the "<" ahead
            if (s_.Match("<!--"))
                ReadComment(parent, at);
            else if (s_.Match("<?"))
                ReadPi(parent, at);
            else
                return;
        }
    }

    void ReadComment(NodeContainer* parent, const Scanner::Mark& at)
    {
        std::string text;
        for (;;) {
            if (s_.Match("--")) {
                if (s_.Next() != '>')
                    s_.Fail(23);
                break;
            }
            char c = s_.Next();
            if (c == 0)
                s_.Fail(1);
            text.push_back(c);
        }
        if (parent)
            Add(*parent, std::make_unique<Comment>(std::move(text)), at);
    }
    void ReadComment(NodeContainer& parent, const Scanner::Mark& at) { ReadComment(&parent, at); }

    // After "<?": a target other than "xml", then its data up to "?>".
    void ReadPi(NodeContainer* parent, const Scanner::Mark& at)
    {
        std::string target;
        if (!s_.ReadName(target))
            s_.Fail(25);
        std::string lower(target);
        std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return char(c | 0x20); });
        if (lower == "xml")
            s_.Fail(25);
        std::string data;
        if (!s_.Match("?>")) {
            s_.RequireSpace(25);
            s_.SkipSpace();
            data = s_.ReadUntil("?>");
        }
        if (parent)
            Add(*parent, std::make_unique<Pi>(std::move(target), std::move(data)), at);
    }
    void ReadPi(NodeContainer& parent, const Scanner::Mark& at) { ReadPi(&parent, at); }

    // ---- DOCTYPE and the internal subset ----

    void ReadDoctype()
    {
        s_.RequireSpace(26);
        if (!s_.ReadName(scratch_))
            s_.Fail(26);
        bool spaced = s_.SkipSpace();
        if (spaced && (s_.Peek() == 'S' || s_.Peek() == 'P')) {
            ReadExternalId(true);
            s_.SkipSpace();
        }
        if (s_.Peek() == '[') {
            s_.Next();
            ReadInternalSubset();
            s_.SkipSpace();
        }
        s_.Require('>', 26);
    }

    // "SYSTEM" literal, or "PUBLIC" public-literal and (required in a
    // DOCTYPE or an entity, optional in a notation) a system literal.
    void ReadExternalId(bool systemRequired)
    {
        if (s_.Match("SYSTEM")) {
            s_.RequireSpace(27);
            s_.ReadQuoted(27);
            return;
        }
        if (!s_.Match("PUBLIC"))
            s_.Fail(27);
        s_.RequireSpace(28);
        ReadPublicLiteral(28);
        auto mark = s_.Save();
        bool spaced = s_.SkipSpace();
        if (spaced && (s_.Peek() == '"' || s_.Peek() == '\'')) {
            s_.ReadQuoted(27);
            return;
        }
        s_.Restore(mark);
        if (systemRequired)
            s_.Fail(27);
    }

    void ReadPublicLiteral(int number)
    {
        std::string literal = s_.ReadQuoted(number);
        for (char c : literal) {
            if (!IsPubidChar(c))
                s_.Fail(number);
        }
    }

    void ReadInternalSubset()
    {
        for (;;) {
            if (s_.SkipSpace())
                continue;
            auto at = s_.Save();
            char c = s_.Next();
            if (c == ']')
                return;
            if (c == 0)
                s_.Fail(1);
            s_.Restore(at);
            if (s_.Match("<!ELEMENT"))
                ReadElementDecl();
            else if (s_.Match("<!ATTLIST"))
                ReadAttlistDecl();
            else if (s_.Match("<!ENTITY"))
                ReadEntityDecl();
            else if (s_.Match("<!NOTATION"))
                ReadNotationDecl();
            else if (s_.Match("<!--"))
                ReadComment(nullptr, at);
            else if (s_.Match("<?"))
                ReadPi(nullptr, at);
            else
                s_.Fail(26);
        }
    }

    void ReadElementDecl()
    {
        s_.RequireSpace(29);
        s_.RequireName(29);
        s_.RequireSpace(29);
        if (!s_.Match("EMPTY")) {
            s_.Require('(', 29);
            s_.SkipSpace();
            if (s_.Match("#PCDATA"))
                ReadMixedModel();
            else
                ReadChildrenModel(1);
        }
        s_.SkipSpace();
        s_.Require('>', 29);
    }

    // After "(#PCDATA": ("|" Name)* ")", and "*" required once names came.
    void ReadMixedModel()
    {
        bool names = false;
        for (;;) {
            s_.SkipSpace();
            char c = s_.Next();
            if (c == ')')
                break;
            if (c != '|')
                s_.Fail(30);
            s_.SkipSpace();
            s_.RequireName(30);
            names = true;
        }
        if (s_.Peek() == '*')
            s_.Next();
        else if (names)
            s_.Fail(30);
    }

    // After "(": content particles joined by one kind of separator, ")"
    // and an optional repeat mark.
    void ReadChildrenModel(size_t depth)
    {
        if (depth > kvlimits::kMaxLegacyXmlDepth)
            s_.Fail(kErrorTooDeep);
        char separator = 0;
        for (;;) {
            s_.SkipSpace();
            if (s_.Peek() == '(') {
                s_.Next();
                ReadChildrenModel(depth + 1);
            } else {
                s_.RequireName(32);
                ReadRepeatMark();
            }
            s_.SkipSpace();
            char c = s_.Next();
            if (c == ')')
                break;
            if ((c != '|' && c != ',') || (separator && c != separator))
                s_.Fail(32);
            separator = c;
        }
        ReadRepeatMark();
    }

    void ReadRepeatMark()
    {
        char c = s_.Peek();
        if (c == '?' || c == '*' || c == '+')
            s_.Next();
    }

    void ReadAttlistDecl()
    {
        s_.RequireSpace(33);
        s_.RequireName(33);
        for (;;) {
            bool spaced = s_.SkipSpace();
            if (s_.Peek() == '>') {
                s_.Next();
                return;
            }
            if (!spaced)
                s_.Fail(33);
            s_.RequireName(34);
            s_.RequireSpace(34);
            ReadAttributeType();
            s_.RequireSpace(37);
            ReadAttributeDefault();
        }
    }

    void ReadAttributeType()
    {
        // Longer keywords first: "IDREFS" would otherwise read as "ID".
        static constexpr std::string_view kTypes[] = {"CDATA",    "IDREFS", "IDREF",    "ID",
                                                      "ENTITIES", "ENTITY", "NMTOKENS", "NMTOKEN"};
        for (std::string_view type : kTypes) {
            if (s_.Match(type))
                return;
        }
        bool notation = s_.Match("NOTATION");
        if (notation)
            s_.RequireSpace(35);
        if (s_.Peek() != '(')
            s_.Fail(35);
        s_.Next();
        for (;;) {
            s_.SkipSpace();
            std::string token;
            while (IsNameChar(s_.Peek()))
                token.push_back(s_.Next());
            if (token.empty() || (notation && !IsNameStart(token[0])))
                s_.Fail(36);
            s_.SkipSpace();
            char c = s_.Next();
            if (c == ')')
                return;
            if (c != '|')
                s_.Fail(36);
        }
    }

    void ReadAttributeDefault()
    {
        if (s_.Match("#REQUIRED") || s_.Match("#IMPLIED"))
            return;
        if (s_.Match("#FIXED"))
            s_.RequireSpace(37);
        std::string value = s_.ReadQuoted(37);
        if (value.find('<') != std::string::npos)
            s_.Fail(37);
    }

    void ReadEntityDecl()
    {
        s_.RequireSpace(38);
        bool parameter = s_.Peek() == '%';
        if (parameter) {
            s_.Next();
            s_.RequireSpace(38);
        }
        std::string name = s_.RequireName(38);
        s_.RequireSpace(38);
        std::string value;
        if (s_.Peek() == '"' || s_.Peek() == '\'') {
            value = ReadEntityValue();
        } else {
            ReadExternalId(true);
            auto mark = s_.Save();
            if (!parameter && s_.SkipSpace() && s_.Match("NDATA")) {
                s_.RequireSpace(39);
                s_.RequireName(39);
            } else {
                s_.Restore(mark);
            }
        }
        s_.SkipSpace();
        s_.Require('>', 38);
        // Parameter entities serve only a DTD, which this reader does not apply.
        if (!parameter)
            document_.AddEntity(std::move(name), std::move(value));
    }

    // A quoted replacement text; each "&" in it must open a reference, and
    // parameter references are not allowed inside the internal subset.
    std::string ReadEntityValue()
    {
        std::string value = s_.ReadQuoted(38);
        for (size_t i = 0; i < value.size(); ++i) {
            if (value[i] == '%')
                s_.Fail(8);
            if (value[i] != '&')
                continue;
            size_t k = i + 1;
            if (k >= value.size() || !IsNameStart(value[k]))
                s_.Fail(8);
            while (k < value.size() && IsNameChar(value[k]))
                ++k;
            if (k >= value.size() || value[k] != ';')
                s_.Fail(8);
            i = k;
        }
        return value;
    }

    void ReadNotationDecl()
    {
        s_.RequireSpace(40);
        s_.RequireName(40);
        s_.RequireSpace(40);
        if (s_.Match("PUBLIC")) {
            s_.RequireSpace(42);
            ReadPublicLiteral(42);
            auto mark = s_.Save();
            if (s_.SkipSpace() && (s_.Peek() == '"' || s_.Peek() == '\''))
                s_.ReadQuoted(41);
            else
                s_.Restore(mark);
        } else if (s_.Match("SYSTEM")) {
            s_.RequireSpace(41);
            s_.ReadQuoted(41);
        } else {
            s_.Fail(40);
        }
        s_.SkipSpace();
        s_.Require('>', 40);
    }

    // ---- Elements and content ----

    // After the root's "<" with a name ahead. The walk keeps its own stack
    // of open elements, so depth costs no machine stack here.
    void ReadElementTree(NodeContainer& parent)
    {
        std::vector<Element*> open;
        Element* root = ReadStartTag(parent, open);
        if (!root)
            return;
        std::string pending;
        Scanner::Mark pendingAt = s_.Save();
        auto flushText = [&] {
            if (!pending.empty())
                Add(*open.back(), std::make_unique<Text>(std::move(pending), PreserveSpace()), pendingAt);
            pending.clear();
        };
        while (!open.empty()) {
            if (pending.empty()) {
                pendingAt = s_.Save();
                ++pendingAt.column;  // the byte about to be read
            }
            char c = s_.Next();
            if (c == 0)
                s_.Fail(1);
            if (c == '<') {
                flushText();
                ReadMarkup(open);
                continue;
            }
            if (c == '&') {
                ReadAmpersand(open, pending, flushText);
                continue;
            }
            if (c == ']' && s_.Peek() == '>')
                s_.Fail(15);
            pending.push_back(c);
            s_.TakeRun(pending, [](char next) { return next == '<' || next == '&' || next == ']'; });
        }
    }

    // "&" in content: the predefined references stay in the text, any other
    // ends it and becomes an entity reference node.
    template <class Flush>
    void ReadAmpersand(std::vector<Element*>& open, std::string& pending, Flush& flushText)
    {
        static constexpr std::string_view kKept[] = {"#", "amp;", "lt;", "gt;", "apos;", "quot;"};
        for (std::string_view kept : kKept) {
            if (s_.Match(kept)) {
                pending.push_back('&');
                pending.append(kept);
                return;
            }
        }
        flushText();
        auto at = s_.Save();
        std::string name;
        if (!s_.ReadName(name))
            s_.Fail(6);
        if (s_.Next() != ';')
            s_.Fail(7);
        budget_.Charge(name, at.line, at.column);
        Add(*open.back(), std::make_unique<EntityRef>(std::move(name)), at);
    }

    // After "<" in content: end tag, comment, CDATA, processing instruction
    // or start tag, in that order.
    void ReadMarkup(std::vector<Element*>& open)
    {
        auto at = s_.Save();
        if (s_.Match("/")) {
            std::string name;
            if (!s_.ReadName(name))
                s_.Fail(10);
            if (name != open.back()->GetName())
                s_.Fail(13);
            s_.SkipSpace();
            s_.Require('>', 12);
            Close(open);
        } else if (s_.Match("!--")) {
            ReadComment(*open.back(), at);
        } else if (s_.Match("![")) {
            if (!s_.Match("CDATA["))
                s_.Fail(24);
            Add(*open.back(), std::make_unique<CData>(s_.ReadUntil("]]>")), at);
        } else if (s_.Match("?")) {
            ReadPi(*open.back(), at);
        } else if (IsNameStart(s_.Peek())) {
            ReadStartTag(*open.back(), open);
        } else {
            s_.Fail(14);
        }
    }

    // Reads a start tag with its attributes and adds the element. Returns it
    // when it stays open (pushed on `open`), null when it was empty.
    Element* ReadStartTag(NodeContainer& parent, std::vector<Element*>& open)
    {
        auto at = s_.Save();
        std::string name;
        if (!s_.ReadName(name))
            s_.Fail(10);
        Element* element = Add(parent, std::make_unique<Element>(std::move(name)), at);
        for (;;) {
            bool spaced = s_.SkipSpace();
            char c = s_.Next();
            if (c == '>')
                break;
            if (c == '/') {
                s_.Require('>', 12);
                return nullptr;
            }
            if (c == 0)
                s_.Fail(1);
            if (!spaced || !IsNameStart(c))
                s_.Fail(11);
            s_.Back();
            ReadAttribute(*element);
        }
        if (open.size() >= kvlimits::kMaxLegacyXmlDepth)
            s_.Fail(kErrorTooDeep);
        open.push_back(element);
        Open(*element);
        return element;
    }

    void ReadAttribute(Element& element)
    {
        auto at = s_.Save();
        ++at.column;  // the name ahead
        std::string name = s_.RequireName(11);
        s_.SkipSpace();
        s_.Require('=', 3);
        s_.SkipSpace();
        char quote = s_.Next();
        if (quote != '"' && quote != '\'')
            s_.Fail(4);
        auto valueAt = s_.Save();
        ++valueAt.column;  // the first byte after the quote
        std::string raw;
        for (char c = s_.Next(); c != quote; c = s_.Next()) {
            if (c == 0)
                s_.Fail(1);
            if (c == '<')
                s_.Fail(5);
            raw.push_back(c);
            s_.TakeRun(raw, [quote](char next) { return next == quote || next == '<'; });
        }
        if (element.GetAttribute(name))
            throw ParsingException(11, at.line, at.column);
        budget_.ChargeText(raw, valueAt.line, valueAt.column);
        auto attribute = std::make_unique<Attribute>(std::move(name));
        SetPosition(*attribute, at);
        auto text = std::make_unique<Text>(std::move(raw));
        SetPosition(*text, valueAt);
        attribute->AddChild(std::move(text));
        element.AddAttribute(std::move(attribute));
    }

    // xml:space of text elements. A tspan pushes twice and its end pops
    // both, as the older reader kept its stack. The stack belongs to one
    // read rather than to the process, so reads on several threads need no
    // lock and cannot see each other's state.
    void Open(const Element& element)
    {
        const std::string& name = element.GetName();
        if (name != "text" && name != "tspan")
            return;
        std::string space;
        bool preserve = element.GetAttributeValue("xml:space", &space) && space == "preserve";
        spaceStack_.push_back(preserve);
        if (name == "tspan")
            spaceStack_.push_back(preserve);
    }

    void Close(std::vector<Element*>& open)
    {
        const std::string& name = open.back()->GetName();
        size_t pops = name == "tspan" ? 2 : name == "text" ? 1 : 0;
        for (; pops > 0 && !spaceStack_.empty(); --pops)
            spaceStack_.pop_back();
        open.pop_back();
    }

    bool PreserveSpace() const { return !spaceStack_.empty() && spaceStack_.back(); }

    Scanner& s_;
    Document& document_;
    EntityBudget budget_;
    std::vector<bool> spaceStack_;
    std::string scratch_;
};

}  // namespace

// ---- Entries ----------------------------------------------------------------

std::unique_ptr<Document> Parser::Parse(const void* bytes, size_t size)
{
    if (size > kvlimits::kMaxLegacyXmlBytes)
        throw ParsingException(kErrorInputTooLarge, 1, 1);
    std::string text = NarrowInput(static_cast<const unsigned char*>(bytes), size);
    ExpandCharRefs(text);
    auto document = std::make_unique<Document>();
    Scanner scanner;
    scanner.buffer = &text;
    Reader(scanner, *document).ReadDocument();
    return document;
}

int32_t ParseDocument(const void* bytes, size_t size, std::unique_ptr<Document>* document, ParseError* error) noexcept
{
    if (error)
        *error = ParseError{};
    if (!document)
        return ERROR_INV_PARAMETER;
    document->reset();
    if (!bytes && size != 0)
        return ERROR_INV_PARAMETER;
    try {
        *document = Parser().Parse(bytes ? bytes : "", size);
        return SUCCESS;
    } catch (const ParsingException& fault) {
        if (error)
            *error = ParseError{fault.GetNumber(), fault.GetLine(), fault.GetColumn()};
        switch (fault.GetNumber()) {
        case kErrorInputTooLarge:
        case kErrorTooDeep:
        case kErrorEntityExpansion:
            return ERROR_MAX_ELEMENTS;
        default:
            return ERROR_FILE_FORMAT;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    } catch (const std::length_error&) {
        return ERROR_NO_MEMORY;
    } catch (...) {
        // Nothing else is thrown by design; should it ever be, the caller
        // still gets a status rather than a terminated process.
        return FAILURE;
    }
}

}  // namespace AdvXMLParser
