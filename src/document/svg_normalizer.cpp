#include "document/svg_normalizer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "base/safety_limits.h"
#include "kvsvg/kvsvg.h"

namespace {

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view LocalName(const char* name)
{
    std::string_view view(name);
    if (view.starts_with("svg:"))
        view.remove_prefix(4);
    return view;
}

// ---- Path data -------------------------------------------------------------------

class PathScanner {
public:
    explicit PathScanner(std::string_view text) : text_(text) {}

    void SkipSeparators()
    {
        while (pos_ < text_.size() && (IsSpace(text_[pos_]) || text_[pos_] == ','))
            ++pos_;
    }
    bool AtEnd()
    {
        SkipSeparators();
        return pos_ >= text_.size();
    }
    char Peek() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }
    void Advance() { ++pos_; }

    // A number of the full grammar: sign, digits, a dot, exponent.
    bool Number(double& value)
    {
        SkipSeparators();
        const size_t start = pos_;
        if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-'))
            ++pos_;
        bool digits = false;
        while (pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '9') {
            ++pos_;
            digits = true;
        }
        if (pos_ < text_.size() && text_[pos_] == '.') {
            ++pos_;
            while (pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '9') {
                ++pos_;
                digits = true;
            }
        }
        if (!digits) {
            pos_ = start;
            return false;
        }
        if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
            size_t exponent = pos_ + 1;
            if (exponent < text_.size() && (text_[exponent] == '+' || text_[exponent] == '-'))
                ++exponent;
            if (exponent < text_.size() && text_[exponent] >= '0' && text_[exponent] <= '9') {
                pos_ = exponent;
                while (pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '9')
                    ++pos_;
            }
        }
        const std::string lexeme(text_.substr(start, pos_ - start));
        value = std::strtod(lexeme.c_str(), nullptr);
        return std::isfinite(value);
    }

    // An arc flag is one character, 0 or 1, and needs no separator after it.
    bool Flag(double& value)
    {
        SkipSeparators();
        if (pos_ < text_.size() && (text_[pos_] == '0' || text_[pos_] == '1')) {
            value = text_[pos_++] - '0';
            return true;
        }
        return false;
    }

private:
    std::string_view text_;
    size_t pos_ = 0;
};

int ParameterCount(char command)
{
    switch (command | 0x20) {
    case 'm': case 'l': case 't': return 2;
    case 'h': case 'v': return 1;
    case 'c': return 6;
    case 's': case 'q': return 4;
    case 'a': return 7;
    case 'z': return 0;
    default: return -1;
    }
}

void AppendNumber(std::string& out, double value)
{
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

// ---- CSS -------------------------------------------------------------------------------

struct Declaration {
    std::string text;  // "name:value"
    bool important = false;
};

struct Rule {
    std::string xpath;
    uint32_t specificity = 0;  // ids, then classes and attributes, then types, each in a byte
    size_t order = 0;
    std::vector<Declaration> declarations;
};

// Comments out, strings kept whole.
std::string StripComments(std::string_view sheet)
{
    std::string out;
    out.reserve(sheet.size());
    for (size_t i = 0; i < sheet.size();) {
        if (sheet.compare(i, 2, "/*") == 0) {
            const size_t end = sheet.find("*/", i + 2);
            if (end == std::string_view::npos)
                break;  // an unterminated comment runs to the end
            i = end + 2;
            out += ' ';
            continue;
        }
        if (sheet[i] == '"' || sheet[i] == '\'') {
            const char quote = sheet[i];
            size_t end = sheet.find(quote, i + 1);
            if (end == std::string_view::npos)
                end = sheet.size() - 1;
            out.append(sheet.substr(i, end - i + 1));
            i = end + 1;
            continue;
        }
        out += sheet[i++];
    }
    return out;
}

std::string XPathLiteral(std::string_view text)
{
    if (text.find('\'') == std::string_view::npos)
        return "'" + std::string(text) + "'";
    if (text.find('"') == std::string_view::npos)
        return "\"" + std::string(text) + "\"";
    return {};
}

bool IsNameChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

// One compound selector (type, *, .class, #id, [attr], [attr=value],
// :first-child) as an XPath step; false for anything else.
bool CompoundToStep(std::string_view compound, std::string& step, uint32_t& specificity)
{
    size_t i = 0;
    std::string name = "*";
    if (i < compound.size() && compound[i] == '*') {
        ++i;
    } else if (i < compound.size() && IsNameChar(compound[i])) {
        const size_t start = i;
        while (i < compound.size() && IsNameChar(compound[i]))
            ++i;
        name = std::string(compound.substr(start, i - start));
        specificity += 1;
    }
    std::string predicates;
    while (i < compound.size()) {
        const char c = compound[i];
        if (c == '.' || c == '#') {
            const size_t start = ++i;
            while (i < compound.size() && IsNameChar(compound[i]))
                ++i;
            if (i == start)
                return false;
            const std::string value = XPathLiteral(compound.substr(start, i - start));
            if (c == '.') {
                const std::string padded = XPathLiteral(" " + std::string(compound.substr(start, i - start)) + " ");
                predicates += "[contains(concat(' ', normalize-space(@class), ' '), " + padded + ")]";
                specificity += 1 << 8;
            } else {
                predicates += "[@id=" + value + "]";
                specificity += 1 << 16;
            }
        } else if (c == '[') {
            const size_t end = compound.find(']', i);
            if (end == std::string_view::npos)
                return false;
            std::string_view inside = Trim(compound.substr(i + 1, end - i - 1));
            const size_t equals = inside.find('=');
            std::string_view attribute = Trim(inside.substr(0, equals));
            if (attribute.empty() || !std::all_of(attribute.begin(), attribute.end(), IsNameChar))
                return false;
            if (equals == std::string_view::npos) {
                predicates += "[@" + std::string(attribute) + "]";
            } else {
                if (equals > 0 && !IsNameChar(inside[equals - 1]) && inside[equals - 1] != ' ')
                    return false;  // ~=, |=, ^= and the like are not supported
                std::string_view value = Trim(inside.substr(equals + 1));
                if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
                    value = value.substr(1, value.size() - 2);
                const std::string literal = XPathLiteral(value);
                if (literal.empty())
                    return false;
                predicates += "[@" + std::string(attribute) + "=" + literal + "]";
            }
            specificity += 1 << 8;
            i = end + 1;
        } else if (compound.substr(i).starts_with(":first-child")) {
            predicates += "[not(preceding-sibling::*)]";
            specificity += 1 << 8;
            i += 12;
        } else {
            return false;
        }
    }
    // Elements may carry the svg: prefix; the local name is what a sheet names.
    step = name == "*" ? "*" + predicates : "*[local-name()=" + XPathLiteral(name) + "]" + predicates;
    return true;
}

// A complex selector (compounds joined by blanks or ">") as an XPath
// expression; false for anything unsupported.
bool SelectorToXPath(std::string_view selector, std::string& xpath, uint32_t& specificity)
{
    selector = Trim(selector);
    if (selector.empty())
        return false;
    xpath = "//";
    specificity = 0;
    size_t i = 0;
    bool expectCompound = true;
    while (i < selector.size()) {
        if (IsSpace(selector[i]) || selector[i] == '>') {
            bool child = false;
            while (i < selector.size() && (IsSpace(selector[i]) || selector[i] == '>')) {
                child = child || selector[i] == '>';
                ++i;
            }
            if (i >= selector.size() || expectCompound)
                return false;
            xpath += child ? "/" : "//";
            expectCompound = true;
            continue;
        }
        if (selector[i] == '+' || selector[i] == '~')
            return false;
        size_t end = i;
        int brackets = 0;
        while (end < selector.size() && (brackets > 0 || (!IsSpace(selector[end]) && selector[end] != '>' &&
                                                           selector[end] != '+' && selector[end] != '~'))) {
            if (selector[end] == '[')
                ++brackets;
            else if (selector[end] == ']')
                --brackets;
            ++end;
        }
        std::string step;
        if (!CompoundToStep(selector.substr(i, end - i), step, specificity))
            return false;
        xpath += step;
        expectCompound = false;
        i = end;
    }
    return !expectCompound;
}

// Splits at a separator outside strings and brackets.
std::vector<std::string_view> SplitTop(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    size_t start = 0;
    int depth = 0;
    char quote = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote) {
            if (c == quote)
                quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '(' || c == '[') {
            ++depth;
        } else if ((c == ')' || c == ']') && depth > 0) {
            --depth;
        } else if (c == separator && depth == 0) {
            parts.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(text.substr(start));
    return parts;
}

// Blanks inside a list value would be dropped by the style parser and glue
// the numbers together: commas keep them apart.
std::string NormalizeDeclarationValue(std::string_view name, std::string_view value)
{
    value = Trim(value);
    if (name != "stroke-dasharray")
        return std::string(value);
    std::string out;
    bool pendingSeparator = false;
    for (char c : value) {
        if (IsSpace(c) || c == ',') {
            pendingSeparator = !out.empty();
            continue;
        }
        if (pendingSeparator)
            out += ',';
        pendingSeparator = false;
        out += c;
    }
    return out;
}

std::vector<Declaration> ParseDeclarations(std::string_view block)
{
    std::vector<Declaration> declarations;
    for (std::string_view piece : SplitTop(block, ';')) {
        const size_t colon = piece.find(':');
        if (colon == std::string_view::npos)
            continue;
        std::string_view name = Trim(piece.substr(0, colon));
        std::string_view value = Trim(piece.substr(colon + 1));
        Declaration declaration;
        const size_t bang = value.rfind('!');
        if (bang != std::string_view::npos && Trim(value.substr(bang + 1)) == "important") {
            declaration.important = true;
            value = Trim(value.substr(0, bang));
        }
        if (name.empty() || value.empty())
            continue;
        declaration.text = std::string(name) + ":" + NormalizeDeclarationValue(name, value);
        declarations.push_back(std::move(declaration));
    }
    return declarations;
}

// Rules of one sheet, in order; @-blocks (media queries, font faces) are
// passed over whole, however deeply they nest.
void ParseSheet(std::string_view sheet, std::vector<Rule>& rules, size_t& order)
{
    const std::string text = StripComments(sheet);
    size_t i = 0;
    while (i < text.size() && rules.size() < kvlimits::kMaxStyleRules) {
        const size_t open = text.find('{', i);
        if (open == std::string::npos)
            break;
        const std::string_view prelude = Trim(std::string_view(text).substr(i, open - i));
        // The block's end, counting nested braces.
        size_t close = open + 1;
        int depth = 1;
        for (; close < text.size() && depth > 0; ++close) {
            if (text[close] == '{')
                ++depth;
            else if (text[close] == '}')
                --depth;
        }
        const std::string_view block = std::string_view(text).substr(open + 1, close - open - 2 + (depth > 0 ? 1 : 0));
        i = close;
        if (prelude.starts_with("@"))
            continue;
        const std::vector<Declaration> declarations = ParseDeclarations(block);
        if (declarations.empty())
            continue;
        for (std::string_view selector : SplitTop(prelude, ',')) {
            Rule rule;
            if (!SelectorToXPath(selector, rule.xpath, rule.specificity))
                continue;  // unsupported: skipped, never guessed at
            rule.order = order++;
            rule.declarations = declarations;
            rules.push_back(std::move(rule));
        }
    }
}

struct Match {
    uint32_t specificity;
    size_t order;
    const Rule* rule;
};

int32_t ApplySheets(pugi::xml_document& tree)
{
    std::vector<Rule> rules;
    size_t order = 0;
    for (pugi::xpath_node found : tree.select_nodes("//*[local-name()='style']")) {
        pugi::xml_node style = found.node();
        std::string sheet;
        for (pugi::xml_node child = style.first_child(); child; child = child.next_sibling()) {
            if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
                sheet += child.value();
        }
        ParseSheet(sheet, rules, order);
    }
    if (rules.empty())
        return SUCCESS;
    // Every element a rule matches, with the rule's rank.
    std::vector<std::pair<pugi::xml_node, Match>> matches;
    for (const Rule& rule : rules) {
        pugi::xpath_node_set nodes;
        try {
            nodes = tree.select_nodes(rule.xpath.c_str());
        } catch (const pugi::xpath_exception&) {
            continue;
        }
        for (pugi::xpath_node node : nodes) {
            if (matches.size() >= kvlimits::kMaxStyleMatches)
                break;
            if (node.node())
                matches.push_back({node.node(), Match{rule.specificity, rule.order, &rule}});
        }
    }
    std::stable_sort(matches.begin(), matches.end(), [](const auto& a, const auto& b) {
        if (a.first != b.first)
            return a.first.internal_object() < b.first.internal_object();
        if (a.second.specificity != b.second.specificity)
            return a.second.specificity < b.second.specificity;
        return a.second.order < b.second.order;
    });
    for (size_t i = 0; i < matches.size();) {
        pugi::xml_node element = matches[i].first;
        std::string normal, important;
        for (; i < matches.size() && matches[i].first == element; ++i) {
            for (const Declaration& declaration : matches[i].second.rule->declarations)
                (declaration.important ? important : normal) += declaration.text + ";";
        }
        pugi::xml_attribute style = element.attribute("style");
        std::string inline_ = style ? style.value() : "";
        std::string combined = normal + inline_;
        if (!combined.empty() && combined.back() != ';' && !important.empty())
            combined += ";";
        combined += important;
        if (!style)
            style = element.append_attribute("style");
        if (!style || !style.set_value(combined.c_str()))
            return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

// Properties the style parser knows but leaves to the attribute readers:
// in a style attribute they would have no effect, so they move out to
// attributes of their own (the last declaration wins, as in the cascade).
bool IsAttributeOnlyProperty(std::string_view name)
{
    return name == "color" || name == "clip-rule" || name == "mask";
}

// A style attribute's list values kept apart, and the attribute-only
// properties moved out to attributes.
int32_t NormalizeStyleAttribute(pugi::xml_node element, pugi::xml_attribute style)
{
    std::string_view text = style.value();
    if (text.find("dasharray") == std::string_view::npos && text.find("color") == std::string_view::npos &&
        text.find("clip-rule") == std::string_view::npos && text.find("mask") == std::string_view::npos)
        return SUCCESS;
    std::string out;
    std::vector<std::pair<std::string, std::string>> moved;
    for (std::string_view piece : SplitTop(text, ';')) {
        const size_t colon = piece.find(':');
        if (colon == std::string_view::npos) {
            if (!Trim(piece).empty())
                out += std::string(piece) + ";";
            continue;
        }
        std::string_view name = Trim(piece.substr(0, colon));
        if (IsAttributeOnlyProperty(name)) {
            moved.emplace_back(std::string(name), std::string(Trim(piece.substr(colon + 1))));
            continue;
        }
        out += std::string(name) + ":" + NormalizeDeclarationValue(name, piece.substr(colon + 1)) + ";";
    }
    for (const auto& [name, value] : moved) {
        pugi::xml_attribute attribute = element.attribute(name.c_str());
        if (!attribute)
            attribute = element.append_attribute(name.c_str());
        if (!attribute || !attribute.set_value(value.c_str()))
            return ERROR_NO_MEMORY;
    }
    // Writing "" would leave an empty attribute, which a document never holds.
    if (out.empty())
        return element.remove_attribute(style) ? SUCCESS : ERROR_NO_MEMORY;
    return style.set_value(out.c_str()) ? SUCCESS : ERROR_NO_MEMORY;
}

}  // namespace

bool RewritePathData(const char* text, std::string& out, bool* changed)
{
    out.clear();
    PathScanner scanner(text ? text : "");
    char command = 0;
    while (!scanner.AtEnd()) {
        const char next = scanner.Peek();
        if (ParameterCount(next) >= 0) {
            command = next;
            scanner.Advance();
        } else if (command == 0 || ParameterCount(command) == 0) {
            break;  // numbers with no command to take them
        } else if (command == 'M') {
            command = 'L';  // coordinates after a move are lines
        } else if (command == 'm') {
            command = 'l';
        }
        const int count = ParameterCount(command);
        double values[7];
        bool complete = true;
        for (int k = 0; k < count; ++k) {
            const bool flag = (command | 0x20) == 'a' && (k == 3 || k == 4);
            if (!(flag ? scanner.Flag(values[k]) : scanner.Number(values[k]))) {
                complete = false;
                break;
            }
        }
        if (!complete)
            break;
        if (!out.empty())
            out += ' ';
        out += command;
        for (int k = 0; k < count; ++k) {
            out += ' ';
            AppendNumber(out, values[k]);
        }
    }
    if (changed)
        *changed = out != (text ? text : "");
    return true;
}

// A length in user units, with or without "px"; false for anything else
// (units, percentages, keywords), which stays as written.
bool PlainLength(const char* text, double& value)
{
    std::string_view view = Trim(text);
    if (view.ends_with("px"))
        view.remove_suffix(2);
    if (view.empty())
        return false;
    const std::string copy(view);
    char* end = nullptr;
    value = std::strtod(copy.c_str(), &end);
    return end == copy.c_str() + copy.size() && std::isfinite(value);
}

bool HasRadius(pugi::xml_attribute radius)
{
    return radius && !Trim(radius.value()).empty() && Trim(radius.value()) != "auto";
}

// Standard rect corners: a radius given on one axis serves both, and each is
// held to half its side. The library's rect reads an unset radius as 0 and
// never clamps, which squares the corners of such rects.
int32_t NormalizeRectCorners(pugi::xml_node rect)
{
    pugi::xml_attribute rx = rect.attribute("rx"), ry = rect.attribute("ry");
    const bool hasX = HasRadius(rx), hasY = HasRadius(ry);
    if (hasX != hasY) {
        pugi::xml_attribute given = hasX ? rx : ry;
        pugi::xml_attribute& missing = hasX ? ry : rx;
        if (!missing)
            missing = rect.insert_attribute_after(hasX ? "ry" : "rx", given);
        if (!missing || !missing.set_value(given.value()))
            return ERROR_NO_MEMORY;
    }
    struct {
        pugi::xml_attribute radius;
        const char* side;
    } axes[] = {{rx, "width"}, {ry, "height"}};
    for (auto& axis : axes) {
        double radius = 0, side = 0;
        if (!axis.radius || !PlainLength(axis.radius.value(), radius) ||
            !PlainLength(rect.attribute(axis.side).value(), side) || side < 0 || radius <= side / 2)
            continue;
        std::string text;
        AppendNumber(text, side / 2);
        if (!axis.radius.set_value(text.c_str()))
            return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

// Whether a language list ("en-US, fr") names the language the rewrite
// renders for: English, matched by its primary tag.
bool MatchesLanguage(std::string_view list)
{
    for (std::string_view tag : SplitTop(list, ',')) {
        tag = Trim(tag);
        if (tag.size() >= 2 && (tag[0] | 0x20) == 'e' && (tag[1] | 0x20) == 'n' && (tag.size() == 2 || tag[2] == '-'))
            return true;
    }
    return false;
}

// The conditional tests of a switch branch: no extension is supported, every
// feature string is (as current viewers answer), the language must match.
bool PassesTests(pugi::xml_node element)
{
    if (element.attribute("requiredExtensions"))
        return false;
    if (pugi::xml_attribute language = element.attribute("systemLanguage"))
        return MatchesLanguage(language.value());
    return true;
}

// A switch renders its first branch whose tests pass, and nothing else. The
// library drops a switch with all its branches, so the rewrite turns it into
// a group (its own attributes kept) holding that one branch.
int32_t ResolveSwitch(pugi::xml_node node)
{
    pugi::xml_node chosen;
    for (pugi::xml_node child = node.first_child(); child && !chosen; child = child.next_sibling()) {
        if (child.type() == pugi::node_element && PassesTests(child))
            chosen = child;
    }
    for (pugi::xml_node child = node.first_child(); child;) {
        pugi::xml_node next = child.next_sibling();
        if (child != chosen)
            node.remove_child(child);
        child = next;
    }
    const std::string_view name = node.name();
    const size_t colon = name.find(':');
    const std::string group = colon == std::string_view::npos ? "g" : std::string(name.substr(0, colon + 1)) + "g";
    return node.set_name(group.c_str()) ? SUCCESS : ERROR_NO_MEMORY;
}

int32_t NormalizeStandardSyntax(pugi::xml_document& tree)
{
    try {
        if (int32_t status = ApplySheets(tree); status != SUCCESS)
            return status;
        // Every element once, with a stack of our own for deep documents.
        std::vector<pugi::xml_node> pending;
        for (pugi::xml_node child = tree.first_child(); child; child = child.next_sibling())
            pending.push_back(child);
        std::string rewritten;
        while (!pending.empty()) {
            pugi::xml_node node = pending.back();
            pending.pop_back();
            if (node.type() != pugi::node_element)
                continue;
            const std::string_view name = LocalName(node.name());
            if (name == "path" || name == "glyph" || name == "missing-glyph") {
                if (pugi::xml_attribute d = node.attribute("d")) {
                    bool changed = false;
                    RewritePathData(d.value(), rewritten, &changed);
                    if (changed && !d.set_value(rewritten.c_str()))
                        return ERROR_NO_MEMORY;
                }
            }
            if (name == "switch") {
                if (int32_t status = ResolveSwitch(node); status != SUCCESS)
                    return status;
            }
            if (name == "rect") {
                if (int32_t status = NormalizeRectCorners(node); status != SUCCESS)
                    return status;
            }
            if (pugi::xml_attribute style = node.attribute("style")) {
                if (int32_t status = NormalizeStyleAttribute(node, style); status != SUCCESS)
                    return status;
            }
            for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling())
                pending.push_back(child);
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}
