#include "document/svg_document_handler.h"
#include "document/svg_normalizer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/base_file.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/element_table.h"
#include "document/svg_xml_streams.h"
#include "document/svg_zip.h"
#include "document/text_white_space.h"
#include "values/file_option_attributes.h"
#include "values/svg_attribute_reader.h"

namespace {

constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;
// A document with text keeps all white space at parse, so that the blanks
// between the parts of a text survive; DropLayoutWhiteSpace then removes
// the indentation.
constexpr unsigned kParseOptionsWithText = pugi::parse_default | pugi::parse_ws_pcdata;

// 0 none stated, 1 for exactly 1.0, 2 for exactly 1.1; a version that is
// not a number fails the load.
int32_t ReadRootVersion(pugi::xml_node root, uint32_t& version)
{
    version = 0;
    double value = 0;
    if (int32_t status = SvgAttributeReader(root, 0).ReadNumberAttribute("version", &value); status != SUCCESS)
        return status;
    version = value == 1.0 ? 1 : value == 1.1 ? 2 : 0;
    return SUCCESS;
}

// pugixml does not check that the attribute names of an element are unique,
// but XML requires it, and every reader here sees only the first of a name:
// an edit that removed that one would bring the next to light, and a saved
// document would no longer read as it did. Repeats are found in one walk of
// the tree (pugixml's traversal keeps no call stack); sorting the names
// keeps an element with thousands of attributes linear-logarithmic. With
// dropRepeats the later ones go, as a tolerant load keeps what parsed well.
class RepeatedAttributeWalker : public pugi::xml_tree_walker {
public:
    explicit RepeatedAttributeWalker(bool dropRepeats) : dropRepeats_(dropRepeats) {}
    bool found() const { return found_; }

    bool for_each(pugi::xml_node& node) override
    {
        if (node.type() != pugi::node_element || !node.first_attribute() ||
            !node.first_attribute().next_attribute())
            return true;
        names_.clear();
        for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
             attribute = attribute.next_attribute())
            names_.push_back(attribute);
        std::stable_sort(names_.begin(), names_.end(), [](pugi::xml_attribute a, pugi::xml_attribute b) {
            return std::strcmp(a.name(), b.name()) < 0;
        });
        for (size_t i = 1; i < names_.size(); ++i) {
            if (std::strcmp(names_[i - 1].name(), names_[i].name()) != 0)
                continue;
            found_ = true;
            if (!dropRepeats_)
                return false;
            // Stable order puts the first of a name ahead of its repeats.
            node.remove_attribute(names_[i]);
            names_[i] = names_[i - 1];
        }
        return true;
    }

private:
    bool dropRepeats_;
    bool found_ = false;
    std::vector<pugi::xml_attribute> names_;
};

bool IsTolerableParseError(pugi::xml_parse_status status)
{
    switch (status) {
    case pugi::status_unrecognized_tag:
    case pugi::status_bad_pi:
    case pugi::status_bad_comment:
    case pugi::status_bad_start_element:
    case pugi::status_bad_attribute:
    case pugi::status_bad_end_element:
    case pugi::status_end_element_mismatch:
        return true;
    default:
        return false;
    }
}

bool HasTextPathMark(pugi::xml_node element, uint32_t type)
{
    static constexpr std::string_view kMark = "kolv_text_path";
    std::string_view id = element.attribute("id").value();
    if (type == kSvgTypeUnknown + 8) {  // use: its reference less the leading '#'
        std::string_view href = element.attribute("xlink:href").value();
        id = href.empty() ? href : href.substr(1);
    }
    return id.substr(0, kMark.size()) == kMark;
}

bool IsDroppedAtLoad(pugi::xml_node element, uint32_t type, uint32_t flags)
{
    switch (type) {
    case SVG_ELEMENT_PATH:
        if ((flags & SVG_LOAD_DROP_TEXT_PATH_PATHS) && HasTextPathMark(element, type))
            return true;
        [[fallthrough]];
    case SVG_ELEMENT_RECT:
    case SVG_ELEMENT_CIRCLE:
    case SVG_ELEMENT_ELLIPSE:
    case SVG_ELEMENT_LINE:
    case SVG_ELEMENT_POLYLINE:
    case SVG_ELEMENT_POLYGON:
        return flags & SVG_LOAD_DROP_SHAPES;
    case SVG_ELEMENT_IMAGE:
        return flags & SVG_LOAD_DROP_IMAGES;
    case SVG_ELEMENT_TEXT:
        if ((flags & SVG_LOAD_DROP_TEXT_PATH_TEXT) && HasTextPathMark(element, type))
            return true;
        return flags & SVG_LOAD_DROP_TEXT;
    case SVG_ELEMENT_A:
        return flags & SVG_LOAD_DROP_TEXT;
    case SVG_ELEMENT_SYMBOL:
    case SVG_ELEMENT_USE:
        return (flags & SVG_LOAD_DROP_TEXT) && HasTextPathMark(element, type);
    default:
        return false;
    }
}

bool IsLoadContainer(uint32_t type)
{
    return type == SVG_ELEMENT_SVG || type == SVG_ELEMENT_G || type == SVG_ELEMENT_SWITCH;
}

// Removes the temporary file of a decompression on every path.
struct TempFile {
    std::string path;
    ~TempFile()
    {
        if (!path.empty())
            BaseFileDelete(path.c_str());
    }
};

}  // namespace

SvgDocumentHandler::SvgDocumentHandler()
{
    type_ = kSvgTypeDocument;
    node_ = tree_;
    bounds_.size = kSvgBoundsSize;
    RefreshCachesFromTree();
}

SvgDocumentHandler::~SvgDocumentHandler()
{
    // Nothing is held back once the document goes.
    renderState_.reset();
    updateDepth_ = 0;
    ClearFlatFlag();
    ClearBounds();
    filterCallback_ = nullptr;
    filterUserData_ = nullptr;
}

// ---- Change notification ----------------------------------------------------

int32_t SvgDocumentHandler::notify(uint32_t event)
{
    if (event == kSvgEventAfterRemove) {
        ++removalGeneration_;
        renderState_.reset();
    }
    if (maximumElements_ != 0) {
        // With a limit the insert and remove events only count: they do not
        // invalidate anything.
        switch (event) {
        case kSvgEventBeforeInsert:
            return maximumElements_ < elementCount_ + 1 ? ERROR_MAX_ELEMENTS : SUCCESS;
        case kSvgEventAfterInsert:
            ++elementCount_;
            break;
        case kSvgEventBeforeRemove:
            return SUCCESS;
        case kSvgEventAfterRemove:
            --elementCount_;  // unsigned on purpose: a removal before any insert wraps
            break;
        default:
            break;
        }
    }
    if (updateDepth_ != 0)
        return SUCCESS;
    DropDerivedState();
    return SUCCESS;
}

void SvgDocumentHandler::DropDerivedState()
{
    renderState_.reset();
    ClearFlatFlag();
    ClearBounds();
}

void SvgDocumentHandler::ClearFlatFlag()
{
    if (isFlat_ == 1) {
        isFlat_ = 0;
        WriteIsFlatAttribute(Root(), false);
    }
}

void SvgDocumentHandler::ClearBounds()
{
    if (bounds_.hasBounds != 0) {
        bounds_ = SvgBounds{};
        bounds_.size = kSvgBoundsSize;
        Root().remove_attribute("Bounds");
    }
}

void SvgDocumentHandler::RefreshCachesFromTree()
{
    // A new tree: nothing derived from the old one may stay.
    renderState_.reset();
    pugi::xml_node root = Root();
    ReadFileOptionAttributes(root, &bounds_);
    isFlat_ = ReadIsFlatAttribute(root) ? 1 : 0;
}

int32_t SvgDocumentHandler::bind(pugi::xml_node node)
{
    notify(kSvgEventBound);
    node_ = node;
    return SUCCESS;
}

// ---- Insertion: a document takes only its svg root -----------------------------

int32_t SvgDocumentHandler::insertNode(std::u16string_view name, uint32_t position, pugi::xml_node* inserted)
{
    if (name != u"svg" || position != kSvgInsertLastChild)
        return ERROR_INV_PARAMETER;
    return SvgBaseHandler::insertNode(name, position, inserted);
}

int32_t SvgDocumentHandler::insertNamed(std::u16string_view name, uint32_t position, SvgBaseHandler* handler)
{
    if (name != u"svg" || position != kSvgInsertLastChild)
        return ERROR_INV_PARAMETER;
    return SvgBaseHandler::insertNamed(name, position, handler);
}

int32_t SvgDocumentHandler::insertTyped(uint32_t type, uint32_t position, SvgBaseHandler* handler)
{
    if (type != SVG_ELEMENT_SVG || position != kSvgInsertLastChild)
        return ERROR_INV_PARAMETER;
    return insertNamed(u"svg", position, handler);
}

pugi::xml_node SvgDocumentHandler::Root() const
{
    pugi::xml_node root = tree_.child("svg");
    return root ? root : tree_.child("svg:svg");
}

// ---- Creating, loading and parsing ---------------------------------------------

int32_t SvgDocumentHandler::CreateEmpty(uint32_t version)
{
    pugi::xml_parse_result result = tree_.load_string("", kParseOptions);
    if (!result && result.status != pugi::status_no_document_element)
        return ERROR_FILE_CREATE;
    version_ = version;
    RefreshCachesFromTree();
    return SUCCESS;
}

int32_t SvgDocumentHandler::ParseDocumentBuffer(const void* data, size_t size, const SvgLoadOptions* options)
{
    tree_.reset();
    const bool keepWhiteSpace = MayHoldTextContent(data, size);
    pugi::xml_parse_result result =
        tree_.load_buffer(data, size, keepWhiteSpace ? kParseOptionsWithText : kParseOptions, pugi::encoding_auto);
    if (result.status == pugi::status_out_of_memory)
        return ERROR_NO_MEMORY;
    if (!result) {
        bool tolerate = options && (options->flags & SVG_LOAD_TOLERATE_XML_ERRORS) &&
                        IsTolerableParseError(result.status);
        if (!tolerate)
            return ERROR_FILE_OPEN;
    }
    bool tolerant = options && (options->flags & SVG_LOAD_TOLERATE_XML_ERRORS);
    try {
        RepeatedAttributeWalker repeats(tolerant);
        tree_.traverse(repeats);
        if (repeats.found() && !tolerant)
            return ERROR_FILE_OPEN;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (keepWhiteSpace)
        DropLayoutWhiteSpace(tree_);
    pugi::xml_node root = Root();
    if (!root)
        return ERROR_NO_SVG_ROOT;
    if (options && (options->flags & SVG_LOAD_NORMALIZE)) {
        if (int32_t status = NormalizeStandardSyntax(tree_); status != SUCCESS)
            return status;
        exactNumbers_ = true;
    }
    if (int32_t status = ReadRootVersion(root, version_); status != SUCCESS)
        return status;
    if (int32_t status = ReadFileOptionAttributes(root, &bounds_); status != SUCCESS)
        return status;
    isFlat_ = ReadIsFlatAttribute(root) ? 1 : 0;
    if (!options || (options->flags == 0 && options->maximumElements <= 0))
        return SUCCESS;
    int32_t wasFlat = isFlat_;
    int32_t status = FilterLoadedElements(*options);
    // Removals went through notify and cleared the flag; a flat file stays flat.
    if (wasFlat == 1 && isFlat_ != 1) {
        isFlat_ = 1;
        WriteIsFlatAttribute(Root(), true);
    }
    return status;
}

int32_t SvgDocumentHandler::FilterLoadedElements(const SvgLoadOptions& options)
{
    // Walks the children of the document and, inside them, only svg, g and
    // switch. The walk keeps its own stack, so deep nesting costs heap, not
    // call stack. The count is the same whatever the visiting order.
    uint64_t kept = 0;
    const uint64_t limit = options.maximumElements > 0 ? static_cast<uint64_t>(options.maximumElements) : 0;
    std::vector<pugi::xml_node> containers;
    try {
        containers.push_back(tree_);
        while (!containers.empty()) {
            pugi::xml_node parent = containers.back();
            containers.pop_back();
            for (pugi::xml_node child = parent.first_child(); child;) {
                pugi::xml_node next = child.next_sibling();
                if (child.type() == pugi::node_element) {
                    uint32_t type = LookupElementType(child.name());
                    if (IsLoadContainer(type)) {
                        containers.push_back(child);
                    } else if (IsDroppedAtLoad(child, type, options.flags)) {
                        notify(kSvgEventBeforeRemove);
                        parent.remove_child(child);
                        notify(kSvgEventAfterRemove);
                        child = next;
                        continue;
                    }
                    if (limit && ++kept > limit)
                        return ERROR_MAX_ELEMENTS;
                }
                child = next;
            }
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t SvgDocumentHandler::LoadFromFile(const char* pathUtf8, const SvgLoadOptions* options)
{
    notify(kSvgEventBound);
    SvgXmlReaderWriter reader;
    if (int32_t status = reader.LoadFromFile(pathUtf8); status != SUCCESS)
        return status;
    int32_t status = ParseDocumentBuffer(reader.data(), reader.dataSize(), options);
    if (status == SUCCESS || !HasGzipMark(reader.data(), reader.dataSize()))
        return status;
    reader.close();
    TempFile unpacked;
    if (!MakeTempFileName(unpacked.path, "svg"))
        return ERROR_FILE_CREATE;
    if (status = UnzipSvgFile(pathUtf8, unpacked.path.c_str()); status != SUCCESS)
        return status;
    SvgXmlReaderWriter second;
    if (status = second.LoadFromFile(unpacked.path.c_str()); status != SUCCESS)
        return status;
    return ParseDocumentBuffer(second.data(), second.dataSize(), options);
}

int32_t SvgDocumentHandler::LoadFromMemory(const void* block, size_t size, const SvgLoadOptions* options)
{
    notify(kSvgEventBound);
    SvgXmlReaderWriter reader;
    if (int32_t status = reader.LoadFromMemory(block, size); status != SUCCESS)
        return status;
    int32_t status = ParseDocumentBuffer(reader.data(), reader.dataSize(), options);
    if (status == SUCCESS || !HasGzipMark(reader.data(), reader.dataSize()))
        return status;
    reader.close();
    void* unpacked = nullptr;
    size_t unpackedSize = 0;
    status = UnzipSvgMemory(block, size, &unpacked, &unpackedSize);
    TrackedPtr<void> owner(unpacked);
    if (status != SUCCESS)
        return status;
    SvgXmlReaderWriter second;
    if (status = second.LoadFromMemory(unpacked, unpackedSize); status != SUCCESS)
        return status;
    owner.reset();
    return ParseDocumentBuffer(second.data(), second.dataSize(), options);
}

// ---- Saving ------------------------------------------------------------------------

int32_t SvgDocumentHandler::SaveToWriter(SvgXmlBase& writer, const SvgSaveOptions* options)
{
    unsigned flags = pugi::format_indent | pugi::format_write_bom;
    pugi::xml_encoding encoding = pugi::encoding_utf8;
    std::string indent = "\t";
    if (options) {
        flags = (options->formatted ? pugi::format_indent : pugi::format_raw) | pugi::format_write_bom;
        if (options->encoding == 1)
            encoding = pugi::encoding_utf16;
        size_t length = 0;
        while (length < std::size(options->indent) && options->indent[length])
            ++length;
        try {
            indent = ToUtf8(std::u16string_view(options->indent, length));
        } catch (const std::bad_alloc&) {
            return ERROR_NO_MEMORY;
        }
    }
    try {
        tree_.save(writer, indent.c_str(), flags, encoding);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return writer.getStatus();
}

namespace {

bool WantsCompression(const SvgSaveOptions* options)
{
    return options && options->size == kSvgSaveOptionsSize && options->compressed == 1;
}

}  // namespace

int32_t SvgDocumentHandler::SaveToFile(const char* pathUtf8, const SvgSaveOptions* options)
{
    if (WantsCompression(options)) {
        SvgZXmlWriter writer;
        if (int32_t status = writer.open(pathUtf8); status != SUCCESS)
            return status;
        int32_t status = SaveToWriter(writer, options);
        writer.close();
        return status == SUCCESS ? writer.getStatus() : status;
    }
    SvgXmlReaderWriter writer;
    if (int32_t status = writer.open(pathUtf8); status != SUCCESS)
        return status;
    int32_t status = SaveToWriter(writer, options);
    writer.close();
    return status;
}

int32_t SvgDocumentHandler::SaveToMemory(void** block, size_t* size, const SvgSaveOptions* options)
{
    *block = nullptr;
    *size = 0;
    if (WantsCompression(options)) {
        SvgZXmlMemoryWriter writer(block, size);
        int32_t status = SaveToWriter(writer, options);
        int32_t finished = writer.finish();
        return status == SUCCESS ? finished : status;
    }
    size_t count = 0;
    SvgXmlMemoryWriter2 counter(nullptr, &count);
    if (int32_t status = SaveToWriter(counter, options); status != SUCCESS)
        return status;
    TrackedPtr<uint8_t> buffer(static_cast<uint8_t*>(KV_ALLOC_ZERO(count + 1, 1)));
    if (!buffer)
        return ERROR_NO_MEMORY;
    SvgXmlMemoryWriter2 filler(buffer.get(), &count);
    if (int32_t status = SaveToWriter(filler, options); status != SUCCESS)
        return status;
    *size = count;
    *block = buffer.release();
    return SUCCESS;
}

// ---- Copy ----------------------------------------------------------------------------

int32_t SvgDocumentHandler::CopyFrom(SvgDocumentHandler& source)
{
    // The copy's flat cache stays as constructed: only asking refreshes it.
    if (source.isFlat_ == 1)
        WriteIsFlatAttribute(Root(), true);
    try {
        tree_.reset(source.tree_);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    version_ = source.getVersion();
    bounds_ = source.bounds_;
    WriteFileOptionAttributes(Root(), &bounds_);
    return SUCCESS;
}

// ---- File options and derived state -------------------------------------------------

int32_t SvgDocumentHandler::ReadFlat(int32_t* flat)
{
    isFlat_ = ReadIsFlatAttribute(Root()) ? 1 : 0;
    *flat = isFlat_;
    return SUCCESS;
}

int32_t SvgDocumentHandler::SetFlat(int32_t flat)
{
    if (!flat && updateDepth_ == 0)
        DropDerivedState();
    isFlat_ = flat ? 1 : 0;
    return WriteIsFlatAttribute(Root(), flat != 0);
}

int32_t SvgDocumentHandler::GetBounds(SvgBounds& bounds)
{
    pugi::xml_node root = Root();
    if (!ReadIsFlatAttribute(root))
        return ERROR_NOT_FLAT;
    bounds.size = kSvgBoundsSize;
    if (int32_t status = ReadFileOptionAttributes(root, &bounds); status != SUCCESS)
        return status;
    bounds_ = bounds;
    return SUCCESS;
}

int32_t SvgDocumentHandler::SetBounds(const SvgBounds& bounds)
{
    pugi::xml_node root = Root();
    if (!ReadIsFlatAttribute(root))
        return ERROR_NOT_FLAT;
    WriteFileOptionAttributes(root, &bounds);
    bounds_ = bounds;
    return SUCCESS;
}

int32_t SvgDocumentHandler::AddElementIDs()
{
    // Post-order over every element with one counter for the whole tree. A
    // candidate is taken only when no element carries it yet; the ids in use
    // are gathered once instead of searching the tree for every candidate,
    // which gives the same names. The explicit stack keeps deep documents off
    // the call stack.
    uint32_t counter = 0;
    bool changed = false;
    try {
        std::unordered_set<std::string> taken;
        std::vector<std::pair<pugi::xml_node, bool>> stack;
        for (pugi::xml_node child = tree_.last_child(); child; child = child.previous_sibling())
            stack.emplace_back(child, false);
        std::vector<pugi::xml_node> needIds;
        while (!stack.empty()) {
            auto [node, childrenDone] = stack.back();
            if (node.type() != pugi::node_element) {
                stack.pop_back();
                continue;
            }
            if (!childrenDone) {
                stack.back().second = true;
                for (pugi::xml_node child = node.last_child(); child; child = child.previous_sibling())
                    stack.emplace_back(child, false);
                continue;
            }
            stack.pop_back();
            if (pugi::xml_attribute id = node.attribute("id"))
                taken.insert(id.value());
            else
                needIds.push_back(node);
        }
        char candidate[10];
        for (pugi::xml_node node : needIds) {
            do {
                ++counter;
                std::snprintf(candidate, sizeof candidate, "ID%d", static_cast<int>(counter));
            } while (taken.count(candidate));
            pugi::xml_attribute id = node.append_attribute("id");
            if (!id || !id.set_value(candidate))
                return FAILURE;
            taken.insert(candidate);
            changed = true;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (changed)
        notify(kSvgEventAfterAttributes);
    return SUCCESS;
}

void SvgDocumentHandler::SetMaximumElements(uint32_t limit)
{
    maximumElements_ = limit;
    elementCount_ = 0;
}

int32_t SvgDocumentHandler::EndUpdate()
{
    if (updateDepth_ == 0)
        return FAILURE;
    --updateDepth_;
    return SUCCESS;
}

void SvgDocumentHandler::SetFilterCallback(SvgFilterElementsCallback callback, void* userData)
{
    filterCallback_ = callback;
    filterUserData_ = callback ? userData : nullptr;
}

int32_t SvgDocumentHandler::ApplyFilterCallback(SvgBaseHandler* element, int32_t type, int32_t* skip)
{
    if (!skip)
        return ERROR_INV_PARAMETER;
    *skip = 0;
    if (type == -1) {
        if (!element)
            return ERROR_INV_PARAMETER;
        type = static_cast<int32_t>(element->type());
    }
    if (!filterCallback_)
        return SUCCESS;
    SvgFilterElementInfo info{0, static_cast<uint32_t>(type), ToHandle(element)};
    return filterCallback_(&info, skip, filterUserData_);
}

// ---- Handle resolution -----------------------------------------------------------------

SvgBaseHandler* AsHandler(SvgHandle handle)
{
    return reinterpret_cast<SvgBaseHandler*>(handle);
}

SvgDocumentHandler* AsDocument(SvgHandle handle)
{
    SvgBaseHandler* handler = AsHandler(handle);
    return handler && handler->IsDocument() ? static_cast<SvgDocumentHandler*>(handler) : nullptr;
}
