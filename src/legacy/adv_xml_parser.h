// The older road's own XML reader: a hand-written, non-validating parser
// over a byte buffer that builds a small tree of its own classes. It shares
// nothing with the document engine (no pugixml, no handlers), so the legacy
// vector road can read a file even where the modern reader would refuse it.
//
// What it reads: the XML declaration, comments, processing instructions, a
// DOCTYPE with its internal subset (read by rule; only general entities are
// kept), elements, attributes, character data, CDATA and general entity
// references. Character references are expanded over the whole buffer
// before parsing and must fit one byte. UTF-16 input (with its mark) is
// thinned to one byte per character.
//
// What it leaves to others: every meaning of the tree. Hostile input is
// bounded by the limits in base/safety_limits.h (input size, nesting depth,
// entity expansion); a bound reached ends the parse with a status.
//
// Two entries: Parser::Parse throws ParsingException (a syntax fault, with
// its number, line and column) or std::bad_alloc; ParseDocument catches
// both and gives a status for callers on the status road.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace AdvXMLParser {

class NodeContainer;
class Element;
class Attribute;
class Document;

enum class NodeType { Element, Attribute, Document, EntityRef, CharRef, Text, CData, Comment, Pi };

class Node {
public:
    virtual ~Node() = default;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    virtual NodeType GetType() const = 0;
    // The element's or attribute's name, the entity's name, the target of
    // a processing instruction, or "#text", "#cdata-section", "#comment",
    // "#document".
    virtual std::string GetName() const = 0;
    // The character data the node stands for: predefined and general entity
    // references expanded, markup of descendants left out.
    virtual std::string GetValue() const = 0;

    // Null for the document.
    NodeContainer* GetParent() const { return parent_; }
    Document* GetDocument() const;
    // Where the node began in the input, from 1: the "<" of markup, the
    // "&" of a reference, the first byte of text or of an attribute.
    int GetLine() const { return line_; }
    int GetColumn() const { return column_; }
    void SetPosition(int line, int column) { line_ = line, column_ = column; }

protected:
    Node() = default;

private:
    friend class NodeContainer;
    friend class Element;
    NodeContainer* parent_ = nullptr;
    int line_ = 1;
    int column_ = 1;
};

class NodeContainer : public Node {
public:
    size_t GetChildCount() const { return children_.size(); }
    Node* GetChild(size_t index) const { return index < children_.size() ? children_[index].get() : nullptr; }
    const std::vector<std::unique_ptr<Node>>& GetChildren() const { return children_; }
    // Child elements in order; with a name, only those of that name.
    std::vector<Element*> GetElements(std::string_view name = {}) const;
    Element* GetFirstElement(std::string_view name = {}) const;
    // The character data of every descendant in document order.
    std::string GetValue() const override;

    // Takes the child, setting its parent.
    Node* AddChild(std::unique_ptr<Node> child);

private:
    std::vector<std::unique_ptr<Node>> children_;
};

class Attribute : public NodeContainer {
public:
    explicit Attribute(std::string name) : name_(std::move(name)) {}
    NodeType GetType() const override { return NodeType::Attribute; }
    std::string GetName() const override { return name_; }
    // The value with predefined and general entity references expanded.
    std::string GetValue() const override;
    // The raw value between the quotes, kept as the attribute's one Text child.
    const std::string& GetRawValue() const;

private:
    std::string name_;
};

class Element : public NodeContainer {
public:
    explicit Element(std::string name) : name_(std::move(name)) {}
    NodeType GetType() const override { return NodeType::Element; }
    std::string GetName() const override { return name_; }

    const std::vector<std::unique_ptr<Attribute>>& GetAttributes() const { return attributes_; }
    Attribute* GetAttribute(std::string_view name) const;
    // True and the expanded value when the attribute is there.
    bool GetAttributeValue(std::string_view name, std::string* value) const;
    Attribute* AddAttribute(std::unique_ptr<Attribute> attribute);

    // The text of the element for the legacy record layer: runs of
    // character data as "<STRING>...</STRING>", tspan children as
    // "<TSPAN>...</TSPAN>" around their own tagged text, tref children as
    // "<TREF>target</TREF>". Under xml:space other than "preserve" white
    // space is collapsed as SVG text collapses it.
    std::string GetTaggedText() const;

private:
    std::string name_;
    std::vector<std::unique_ptr<Attribute>> attributes_;
};

class Document : public NodeContainer {
public:
    Document();
    ~Document() override;
    NodeType GetType() const override { return NodeType::Document; }
    std::string GetName() const override { return "#document"; }

    // The declaration's strings, empty when absent; the encoding reads
    // "UTF-8" unless the declaration named another.
    const std::string& GetVersion() const { return version_; }
    const std::string& GetEncoding() const { return encoding_; }
    const std::string& GetStandalone() const { return standalone_; }
    Element* GetRootElement() const { return GetFirstElement(); }

    // General entities of the internal subset, name to replacement text as
    // written (external entities have an empty text). The first
    // declaration of a name wins.
    const std::map<std::string, std::string, std::less<>>& GetEntities() const { return entities_; }
    const std::string* FindEntity(std::string_view name) const;

    void SetDeclaration(std::string version, std::string encoding, std::string standalone);
    // False, and the table unchanged, when the name was declared before.
    bool AddEntity(std::string name, std::string value);

private:
    std::string version_;
    std::string encoding_ = "UTF-8";
    std::string standalone_;
    std::map<std::string, std::string, std::less<>> entities_;
};

class Reference : public Node {
public:
    explicit Reference(std::string name) : name_(std::move(name)) {}
    std::string GetName() const override { return name_; }

private:
    std::string name_;
};

// A general entity reference in content or in an attribute value. Its
// value is the entity's replacement text with references inside it
// expanded; an undeclared entity stands for nothing, except the predefined
// five, which stand for their character.
class EntityRef : public Reference {
public:
    using Reference::Reference;
    NodeType GetType() const override { return NodeType::EntityRef; }
    std::string GetValue() const override;
};

// Kept for the shape of the tree: character references are expanded before
// parsing, so the reader never makes one.
class CharRef : public Reference {
public:
    CharRef(std::string name, uint32_t code) : Reference(std::move(name)), code_(code) {}
    NodeType GetType() const override { return NodeType::CharRef; }
    std::string GetValue() const override;
    uint32_t GetCode() const { return code_; }

private:
    uint32_t code_;
};

// Character data as written, with "&amp;", "&lt;", "&gt;", "&apos;" and
// "&quot;" kept raw; GetValue decodes them.
class Text : public Node {
public:
    explicit Text(std::string raw, bool preserveSpace = false) : raw_(std::move(raw)), preserveSpace_(preserveSpace) {}
    NodeType GetType() const override { return NodeType::Text; }
    std::string GetName() const override { return "#text"; }
    std::string GetValue() const override;
    const std::string& GetRawText() const { return raw_; }
    // Whether the text element around it asked for xml:space="preserve".
    bool IsSpacePreserved() const { return preserveSpace_; }

private:
    std::string raw_;
    bool preserveSpace_;
};

class CData : public Node {
public:
    explicit CData(std::string text) : text_(std::move(text)) {}
    NodeType GetType() const override { return NodeType::CData; }
    std::string GetName() const override { return "#cdata-section"; }
    std::string GetValue() const override { return text_; }

private:
    std::string text_;
};

class Comment : public Node {
public:
    explicit Comment(std::string text) : text_(std::move(text)) {}
    NodeType GetType() const override { return NodeType::Comment; }
    std::string GetName() const override { return "#comment"; }
    std::string GetValue() const override { return text_; }

private:
    std::string text_;
};

class Pi : public Node {
public:
    Pi(std::string target, std::string data) : target_(std::move(target)), data_(std::move(data)) {}
    NodeType GetType() const override { return NodeType::Pi; }
    std::string GetName() const override { return target_; }
    std::string GetValue() const override { return data_; }
    const std::string& GetTarget() const { return target_; }
    const std::string& GetData() const { return data_; }

private:
    std::string target_;
    std::string data_;
};

class Exception {
public:
    explicit Exception(std::string message) : message_(std::move(message)) {}
    virtual ~Exception() = default;
    const std::string& GetMessage() const { return message_; }

private:
    std::string message_;
};

// Fault numbers beyond the syntax numbers 1 to 43 (listed in
// adv_xml_parser.cpp): a bound of base/safety_limits.h reached, and an
// entity whose replacement text reaches itself.
enum : int {
    kErrorInputTooLarge = 44,
    kErrorTooDeep = 45,
    kErrorEntityExpansion = 46,
    kErrorEntityRecursion = 47,
};

class ParsingException : public Exception {
public:
    ParsingException(int number, int line, int column);
    int GetNumber() const { return number_; }
    int GetLine() const { return line_; }
    int GetColumn() const { return column_; }

private:
    int number_;
    int line_;
    int column_;
};

class Parser {
public:
    // Reads the whole buffer into a document. Throws ParsingException on a
    // syntax fault or a bound reached, std::bad_alloc when memory runs out.
    std::unique_ptr<Document> Parse(const void* bytes, size_t size);
};

// Where and why a parse failed; number 0 when it did not.
struct ParseError {
    int number = 0;
    int line = 0;
    int column = 0;
};

// The status road: SUCCESS with *document set, or *document null and
// ERROR_INV_PARAMETER (null arguments), ERROR_FILE_FORMAT (a syntax fault,
// and an entity that refers to itself), ERROR_MAX_ELEMENTS (input, depth or
// entity expansion past its bound), ERROR_NO_MEMORY.
int32_t ParseDocument(const void* bytes, size_t size, std::unique_ptr<Document>* document,
                      ParseError* error = nullptr) noexcept;

}  // namespace AdvXMLParser
