// Flatten, measure and draw: the document is loaded in the library's own
// syntax and in standard-syntax mode, flattened for a 64-pixel target, its
// bounds calculated, and drawn on a 64 x 64 bitmap, plainly and through the
// render-optimised state. The flat form must keep its promises: every element
// in it reads its record, and it saves and loads back.
#include "fuzz_support.h"

#include "kvsvg/kvbase.h"

namespace {

using kvfuzz::Document;

constexpr int32_t kBitmapSide = 64;
constexpr uint32_t kMaxFlatElements = 1000;

struct OwnedBitmap {
    KvBitmap bitmap{};
    ~OwnedBitmap() { K_BitmapFree(&bitmap); }
};

struct SavedText {
    void* block = nullptr;
    size_t size = 0;
    ~SavedText() { K_SvgFreeMemory(block); }
};

int32_t CheckFlatRecord(SvgHandle element, void*)
{
    uint32_t type = 0;
    K_SvgGetElementType(element, &type);
    uint32_t size = kvfuzz::RecordSizeOf(type);
    if (size == 0)
        kvfuzz::Fail("a flat document holds an element without a record", type);
    kvfuzz::RecordBuffer record;
    K_SvgInitElement(record.bytes, type, size);
    int32_t status = K_SvgGetElement(element, record.bytes, size);
    K_SvgFreeElement(record.bytes, type);
    if (status != SUCCESS)
        kvfuzz::Fail("an element of a flat document does not read its record", status);
    return SUCCESS;
}

void CheckFlatPromises(SvgHandle flat)
{
    K_SvgEnumerateElements(flat, SVG_ENUM_PREORDER, CheckFlatRecord, nullptr);
    SavedText saved;
    if (K_SvgSaveDocumentMemory(flat, &saved.block, &saved.size, nullptr) != SUCCESS)
        kvfuzz::Fail("a flat document does not save");
    Document reloaded;
    int32_t status = K_SvgLoadDocumentMemory(saved.block, saved.size, reloaded.out(), nullptr);
    if (status != SUCCESS)
        kvfuzz::Fail("a saved flat document does not load again", status);
}

void Draw(SvgHandle flat, KvBitmap& bitmap)
{
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.flags = 1;
    options.backColor = 0x00FFFFFF;
    options.bounds = KvRectangle{0, 0, kBitmapSide, kBitmapSide};
    options.renderFlags = SVG_RENDER_FULL_PAINT;
    K_SvgRasterizeDocument(&bitmap, flat, &options);
}

void FlattenAndDraw(const uint8_t* data, size_t size, uint32_t loadFlags, KvBitmap& bitmap)
{
    SvgLoadOptions loadOptions{kSvgLoadOptionsSize, loadFlags, 0};
    Document document;
    if (K_SvgLoadDocumentMemory(data, size, document.out(), &loadOptions) != SUCCESS)
        return;
    // As a service drawing files it does not trust would: the flat form may
    // hold so many elements and no more. Without it five levels of ten uses
    // (1.4 KB) make 111,110 elements and take many seconds here; a flat
    // element costs about 0.1 ms in this instrumented build, and the input
    // is flattened twice within the campaign's second.
    K_SvgSetMaximumElements(document.get(), kMaxFlatElements);
    K_SvgFlatOptions flatOptions{kSvgFlatOptionsSize, kBitmapSide, kBitmapSide, 0};
    Document flat;
    if (K_SvgFlatDocument(document.get(), flat.out(), &flatOptions) != SUCCESS)
        return;
    int32_t isFlat = 0;
    K_SvgIsFlatDocument(flat.get(), &isFlat);
    if (!isFlat)
        return;  // no svg root: an empty document, nothing to draw
    CheckFlatPromises(flat.get());

    K_SvgCalculateBounds(flat.get(), 1);
    SvgBounds bounds{};
    K_SvgGetBounds(flat.get(), &bounds, kSvgBoundsSize);
    Draw(flat.get(), bitmap);
    if (K_SvgBeginRenderOptimizeDocument(flat.get()) == SUCCESS) {
        Draw(flat.get(), bitmap);
        K_SvgEndRenderOptimizeDocument(flat.get());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    OwnedBitmap canvas;
    if (K_BitmapInit(&canvas.bitmap, kKvBitmapSize, kBitmapSide, kBitmapSide, 32, KV_ORDER_BGR) != SUCCESS ||
        K_BitmapAllocate(&canvas.bitmap) != SUCCESS)
        kvfuzz::Fail("no canvas");
    FlattenAndDraw(data, size, 0, canvas.bitmap);
    FlattenAndDraw(data, size, SVG_LOAD_NORMALIZE, canvas.bitmap);
    return 0;
}
