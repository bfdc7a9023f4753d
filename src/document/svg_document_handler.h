// The document: owns one XML tree, loads, saves and copies it, caches what
// the file says about itself (version, flatness, bounds), counts elements
// against a limit, and is told of every change so that derived state is
// dropped at the right moment.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "document/svg_base_handler.h"
#include "kvsvg/kvsvg.h"

class SvgXmlBase;

// State that a higher layer derives from the tree and keeps on the document
// (the render-optimised elements). The document only owns it: any change
// outside an update bracket drops it, and so does every removal, since the
// state may remember nodes that a removal frees.
class SvgDerivedState {
public:
    virtual ~SvgDerivedState() = default;
};

class SvgDocumentHandler : public SvgBaseHandler {
public:
    SvgDocumentHandler();
    ~SvgDocumentHandler() override;

    int32_t notify(uint32_t event) override;
    int32_t bind(pugi::xml_node node) override;
    int32_t insertNode(std::u16string_view name, uint32_t position, pugi::xml_node* inserted) override;
    int32_t insertNamed(std::u16string_view name, uint32_t position, SvgBaseHandler* handler) override;
    int32_t insertTyped(uint32_t type, uint32_t position, SvgBaseHandler* handler) override;
    uint32_t getVersion() override { return version_; }

    // Life cycle of the tree.
    int32_t CreateEmpty(uint32_t version);
    int32_t LoadFromFile(const char* pathUtf8, const SvgLoadOptions* options);
    int32_t LoadFromMemory(const void* block, size_t size, const SvgLoadOptions* options);
    int32_t SaveToFile(const char* pathUtf8, const SvgSaveOptions* options);
    int32_t SaveToMemory(void** block, size_t* size, const SvgSaveOptions* options);
    int32_t CopyFrom(SvgDocumentHandler& source);

    // File options and derived state.
    int32_t ReadFlat(int32_t* flat);
    int32_t SetFlat(int32_t flat);
    int32_t GetBounds(SvgBounds& bounds);
    int32_t SetBounds(const SvgBounds& bounds);
    int32_t AddElementIDs();
    // Through the element records (svg_document_records.cpp).
    int32_t SetDocumentVersion(uint32_t version);
    int32_t Resize(double factor);
    int32_t GetFileOptions(SvgFileOptions& options);

    void SetMaximumElements(uint32_t limit);
    uint32_t maximumElements() const { return maximumElements_; }
    uint32_t elementCount() const { return elementCount_; }
    // Shapes the uses of this document may copy into one flat form, all
    // uses together, and four times as many elements of any kind (groups
    // and uses whose copies come out empty cost a walk each); 0: no bound
    // beyond the element limit. For callers that cannot set a limit.
    void SetMaximumUseShapes(uint32_t limit) { maximumUseShapes_ = limit; }
    uint32_t maximumUseShapes() const { return maximumUseShapes_; }
    void BeginUpdate() { ++updateDepth_; }
    int32_t EndUpdate();
    void SetFilterCallback(SvgFilterElementsCallback callback, void* userData);
    // Asks the filter callback about one element; type -1 takes it from the element.
    int32_t ApplyFilterCallback(SvgBaseHandler* element, int32_t type, int32_t* skip);
    bool HasFilterCallback() const { return filterCallback_ != nullptr; }

    // The folder that relative image files are found in and, when the
    // flattener is asked to, confined to; empty for the working folder.
    const std::string& baseFolder() const { return baseFolder_; }
    // Read in the standard-syntax mode, or made from such a document: the
    // numbers written into it keep every digit of their exponent.
    bool exactNumbers() const { return exactNumbers_; }
    void SetExactNumbers(bool exact) { exactNumbers_ = exact; }
    void SetBaseFolder(std::string folder) { baseFolder_ = std::move(folder); }

    SvgDerivedState* renderState() const { return renderState_.get(); }
    void SetRenderState(std::unique_ptr<SvgDerivedState> state) { renderState_ = std::move(state); }
    void DropRenderState() { renderState_.reset(); }

    // The root element: child "svg", else "svg:svg"; null when there is none.
    pugi::xml_node Root() const;
    pugi::xml_document& tree() { return tree_; }
    void setVersion(uint32_t version) { version_ = version; }
    int32_t cachedFlat() const { return isFlat_; }
    // Grows with every removal, so a walk can tell that nodes it remembers may be gone.
    uint64_t removalGeneration() const { return removalGeneration_; }

private:
    int32_t ParseDocumentBuffer(const void* data, size_t size, const SvgLoadOptions* options);
    int32_t FilterLoadedElements(const SvgLoadOptions& options);
    int32_t SaveToWriter(SvgXmlBase& writer, const SvgSaveOptions* options);
    void DropDerivedState();
    void ClearFlatFlag();
    void ClearBounds();
    void RefreshCachesFromTree();

    pugi::xml_document tree_;
    uint32_t version_ = 0;
    int32_t isFlat_ = -1;
    SvgBounds bounds_{};
    uint32_t maximumElements_ = 0;
    uint32_t maximumUseShapes_ = 0;
    uint32_t elementCount_ = 0;
    uint32_t updateDepth_ = 0;
    SvgFilterElementsCallback filterCallback_ = nullptr;
    void* filterUserData_ = nullptr;
    uint64_t removalGeneration_ = 0;
    std::unique_ptr<SvgDerivedState> renderState_;
    std::string baseFolder_;
    bool exactNumbers_ = false;
};

// The document of a handle of any kind: the object itself for type 1, else
// the element's owner. Null for null.
SvgDocumentHandler* AsDocument(SvgHandle handle);
SvgBaseHandler* AsHandler(SvgHandle handle);
inline SvgHandle ToHandle(SvgBaseHandler* handler) { return reinterpret_cast<SvgHandle>(handler); }
