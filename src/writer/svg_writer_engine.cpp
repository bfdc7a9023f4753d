// The recording engine's life cycle, objects, state stack, transforms,
// page bookkeeping and what it passes to the measuring engine. Shapes,
// clips and paint servers, text and images live in files of their own.
#include "writer/svg_writer_engine.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>

#include "base/geometry.h"
#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_base_handler.h"
#include "document/svg_document_handler.h"
#include "drawing/drawing_engines.h"
#include "values/file_option_attributes.h"
#include "values/value_records.h"
#include "writer/writer_brushes.h"
#include "writer/writer_font.h"
#include "writer/writer_path.h"
#include "writer/writer_pen.h"
#include "writer/writer_string_format.h"

namespace kvdrw::svg {

namespace {

// The stack grows in steps that cover the renderer's save and restore
// around every element of a deep document without a reallocation each time.
constexpr int32_t kStateStep = 20;

constexpr char16_t kXlinkNamespace[] = u"http://www.w3.org/1999/xlink";
constexpr char16_t kSvgNamespace[] = u"http://www.w3.org/2000/svg";

// Whether a caller's options record is long enough to hold a field.
template <class Field>
bool Covers(const SvgFileOptions& options, size_t offset, const Field&)
{
    return options.size >= offset + sizeof(Field);
}
#define KV_OPTIONS_COVER(options, field) Covers((options), offsetof(SvgFileOptions, field), (options).field)

void InitState(SvgWriterState& state)
{
    std::memset(&state, 0, sizeof state);
    InitTransformList(&state.transform);
    InitReference(&state.clip);
}

void FreeState(SvgWriterState& state)
{
    FreeTransformList(&state.transform);
    FreeReference(&state.clip);
}

// A deep copy of one entry; on failure `copy` holds nothing.
int32_t CopyState(const SvgWriterState& source, SvgWriterState& copy)
{
    InitState(copy);
    copy.textQuality = source.textQuality;
    copy.shapeQuality = source.shapeQuality;
    copy.clip.kind = source.clip.kind;
    if (int32_t status = CopyTrackedText(&copy.clip.id, source.clip.id); status != SUCCESS) {
        FreeState(copy);
        return status;
    }
    if (source.transform.count != 0 && source.transform.items) {
        auto* item = static_cast<SvgTransform*>(KV_ALLOC(1, sizeof(SvgTransform)));
        if (!item) {
            FreeState(copy);
            return ERROR_NO_MEMORY;
        }
        *item = source.transform.items[0];
        copy.transform.items = item;
        copy.transform.count = 1;
    }
    return SUCCESS;
}

uint32_t QualityToRendering(int32_t quality)
{
    static const uint32_t kRendering[] = {0, 2, 4};  // not set, optimizeSpeed, geometricPrecision
    return kRendering[quality];
}

int32_t RenderingToQuality(uint32_t rendering)
{
    return rendering == 2 ? 1 : rendering == 4 ? 2 : 0;
}

kvdrw::Font* InnerFont(kvdrw::Font* font)
{
    auto* mine = dynamic_cast<MyFont*>(font);
    return mine ? mine->inner() : font;
}

kvdrw::StringFormat* InnerFormat(kvdrw::StringFormat* format)
{
    auto* mine = dynamic_cast<MyStringFormat*>(format);
    return mine ? mine->inner() : format;
}

// Makes a writer object, tracks it, and gives it back to the engine when
// its set-up fails.
template <class Object, class Interface, class Setup>
int32_t MakeObject(Interface** out, kvdrw::Engine* measuring, Setup&& setup)
{
    if (!out)
        return ERROR_INV_PARAMETER;
    auto* made = new (std::nothrow) Object();
    if (!made)
        return ERROR_NO_MEMORY;
    TrackWriterObject(made);
    made->SetOwner(measuring);
    if (int32_t status = setup(*made); status != SUCCESS) {
        ReleaseWriterObject(made, measuring);
        return status;
    }
    *out = made;
    return SUCCESS;
}

}  // namespace

// ---- Life cycle ---------------------------------------------------------------

int32_t SvgWriterEngine::Create(SvgWriterEngine** engine)
{
    if (!engine)
        return ERROR_INV_PARAMETER;
    auto* made = new (std::nothrow) SvgWriterEngine();
    if (!made)
        return ERROR_NO_MEMORY;
    KV_TRACK(static_cast<MyDisposable*>(made));
    *engine = made;
    return SUCCESS;
}

void SvgWriterEngine::Destroy(SvgWriterEngine* engine)
{
    if (!engine)
        return;
    engine->MarkReleasing();
    KV_UNTRACK(static_cast<MyDisposable*>(engine));
    delete engine;
}

SvgWriterEngine::~SvgWriterEngine()
{
    ReleaseBinding();
}

void SvgWriterEngine::ReleaseBinding()
{
    root_ = {};
    defs_ = {};
    clipNode_ = {};
    if (states_) {
        for (int32_t i = 0; i <= stateTop_; ++i)
            FreeState(states_[i]);
        KV_FREE(states_);
        states_ = nullptr;
    }
    stateCapacity_ = 0;
    stateTop_ = 0;
    // Only the depth is given back: the end-of-update work would run on
    // every element drawn, and a recorded drawing is flat as it stands.
    if (holdsUpdate_ && document_)
        document_->EndUpdate();
    holdsUpdate_ = false;
    if (measuring_)
        DrawingDestroyEngine(measuring_);
    measuring_ = nullptr;
    document_ = nullptr;
}

int32_t SvgWriterEngine::Attach(SvgDocumentHandler& document, const SvgFileOptions* options)
{
    const int32_t status = [&]() -> int32_t {
        states_ = static_cast<SvgWriterState*>(KV_ALLOC_ZERO(kStateStep, sizeof(SvgWriterState)));
        if (!states_)
            return ERROR_NO_MEMORY;
        stateCapacity_ = kStateStep;
        stateTop_ = 0;
        InitState(states_[0]);
        if (int32_t made = DrawingCreateMeasureEngine(&measuring_); made != SUCCESS) {
            measuring_ = nullptr;
            return made;
        }
        document_ = &document;
        if (options && KV_OPTIONS_COVER(*options, maximumElements) && options->maximumElements != 0)
            document.SetMaximumElements(static_cast<uint32_t>(options->maximumElements));
        root_ = RootView(document);
        if (!root_) {
            ScopedRecord<SvgSvgElement> svg(SVG_ELEMENT_SVG);
            if (svg.status() != SUCCESS)
                return svg.status();
            if (int32_t copied = CopyTrackedText(&svg->xlink.xmlnsXlink, kXlinkNamespace); copied != SUCCESS)
                return copied;
            if (options && KV_OPTIONS_COVER(*options, height) && options->width != -1.0 && options->height != -1.0 &&
                !RectIsEmpty({0, 0, options->width, options->height})) {
                svg->width.value = options->width;
                svg->height.value = options->height;
            }
            const SvgElementView documentNode(document, document.tree());
            if (int32_t inserted = documentNode.Insert(SVG_ELEMENT_SVG, svg.data(), kSvgInsertLastChild, &root_);
                inserted != SUCCESS)
                return inserted;
            // The record has no field for the default namespace, and without
            // it no other viewer takes the recording for SVG.
            SvgBaseHandler* made = nullptr;
            if (int32_t wrapped = WrapXmlNode(&made, root_.node()); wrapped != SUCCESS)
                return wrapped;
            SvgHandlerPtr rootHandler(made);
            AttachOwner(&document, made);
            if (int32_t named = rootHandler->SetAttribute(u"xmlns", kSvgNamespace); named != SUCCESS)
                return named;
        }
        // What is drawn here is flat as it stands: no transform to bake, no
        // style to cascade.
        if (int32_t flat = document.SetFlat(1); flat != SUCCESS)
            return flat;
        document.BeginUpdate();
        holdsUpdate_ = true;
        if (options && KV_OPTIONS_COVER(*options, dpiY) && !IsUnsetDouble(options->dpiX) &&
            !IsUnsetDouble(options->dpiY) && options->dpiX != -1.0 && options->dpiY != -1.0) {
            if (int32_t written = WriteResolutionAttributes(root_.node(), options->dpiX, options->dpiY);
                written != SUCCESS)
                return written;
            dpiX_ = options->dpiX;
            dpiY_ = options->dpiY;
        }
        return SUCCESS;
    }();
    if (status != SUCCESS) {
        ReleaseBinding();
        return status;
    }
    SetDrawingMode(0);
    SetQualityB(1);
    SetQualityA(1);
    return SUCCESS;
}

void SvgWriterEngine::SetTextExtraParams(const SvgTextExtraParams* params)
{
    extraParams_ = params ? *params : SvgTextExtraParams{};
}

int32_t CreateSvgWriterForDocument(SvgWriterEngine** engine, SvgDocumentHandler& document,
                                   const SvgFileOptions* options)
{
    if (!engine)
        return ERROR_INV_PARAMETER;
    SvgWriterEngine* made = nullptr;
    if (int32_t status = SvgWriterEngine::Create(&made); status != SUCCESS)
        return status;
    if (int32_t status = made->Attach(document, options); status != SUCCESS) {
        SvgWriterEngine::Destroy(made);
        return status;
    }
    *engine = made;
    return SUCCESS;
}

int32_t DrawToSvg(SvgWriterEngine** engine, SvgDocumentHandler** document, const SvgFileOptions* options)
{
    SvgWriterEngine* made = nullptr;
    if (int32_t status = SvgWriterEngine::Create(&made); status != SUCCESS)
        return status;
    SvgBaseHandler* handler = nullptr;
    if (int32_t status = CreateSvgHandler(SVG_ELEMENT_DOCUMENT, &handler); status != SUCCESS) {
        SvgWriterEngine::Destroy(made);
        return status;
    }
    SvgHandlerPtr newDocument(handler);
    auto* target = static_cast<SvgDocumentHandler*>(handler);
    int32_t status = target->CreateEmpty(0);
    if (status == SUCCESS)
        status = made->Attach(*target, options);
    if (status != SUCCESS) {
        // The engine lets go of the document before the document goes.
        SvgWriterEngine::Destroy(made);
        return status;
    }
    if (options && KV_OPTIONS_COVER(*options, flags))
        made->SetFlags(options->flags);
    *document = target;
    newDocument.release();
    *engine = made;
    return SUCCESS;
}

SvgWriterEngine* AsSvgWriterEngine(void* engine)
{
    if (!engine)
        return nullptr;
    return dynamic_cast<SvgWriterEngine*>(static_cast<kvdrw::Engine*>(engine));
}

// ---- Pages -----------------------------------------------------------------------

int32_t SvgWriterEngine::BeginDocument()
{
    if (documentOpen_)
        return ERROR_INV_PARAMETER;
    documentOpen_ = true;
    pageOpen_ = false;
    pageCount_ = 0;
    return SUCCESS;
}

int32_t SvgWriterEngine::BeginPage(int32_t, int32_t, int32_t* pageState)
{
    if (pageState) {
        *pageState = 0;
        pageOpen_ = true;
        return SUCCESS;
    }
    if (!documentOpen_ || pageOpen_)
        return ERROR_INV_PARAMETER;
    pageOpen_ = true;
    return SUCCESS;
}

int32_t SvgWriterEngine::EndPage()
{
    if (!documentOpen_ || !pageOpen_)
        return ERROR_INV_PARAMETER;
    pageOpen_ = false;
    ++pageCount_;
    return SUCCESS;
}

int32_t SvgWriterEngine::EndDocument()
{
    if (pageOpen_ || !documentOpen_)
        return ERROR_INV_PARAMETER;
    documentOpen_ = false;
    return SUCCESS;
}

// ---- Objects -----------------------------------------------------------------------

int32_t SvgWriterEngine::DeleteObject(kvdrw::Disposable* object)
{
    if (!object)
        return ERROR_INV_PARAMETER;
    auto* mine = dynamic_cast<MyDisposable*>(object);
    if (mine == static_cast<MyDisposable*>(this))
        return ERROR_INV_PARAMETER;  // the engine goes through K_Draw_DestroySvgEngine
    if (mine) {
        ReleaseWriterObject(mine, measuring_);
        return SUCCESS;
    }
    return measuring_ ? measuring_->DeleteObject(object) : ERROR_INV_PARAMETER;
}

int32_t SvgWriterEngine::CreatePen(kvdrw::Pen** pen, const KvColor* color, double width, int32_t dashStyle)
{
    if (!pen || !color)
        return ERROR_INV_PARAMETER;
    return MakeObject<MyPen>(pen, measuring_, [&](MyPen& made) {
        kvdrw::Pen& asPen = made;
        if (int32_t status = asPen.SetColor(color); status != SUCCESS)
            return status;
        if (int32_t status = asPen.SetWidth(width); status != SUCCESS)
            return status;
        return asPen.SetDashStyle(dashStyle);
    });
}

int32_t SvgWriterEngine::CreateSolidBrush(kvdrw::SolidBrush** brush, const KvColor* color)
{
    if (!brush || !color)
        return ERROR_INV_PARAMETER;
    return MakeObject<MySolidBrush>(brush, measuring_, [&](MySolidBrush& made) { return made.SetColor(color); });
}

int32_t SvgWriterEngine::CreatePath(kvdrw::GraphicsPath** path)
{
    if (!path || !measuring_)
        return ERROR_INV_PARAMETER;
    return MakeObject<MyGraphicsPath>(path, measuring_,
                                      [&](MyGraphicsPath& made) { return made.Create(*measuring_); });
}

int32_t SvgWriterEngine::CreateFontNarrow(kvdrw::Font** font, int32_t reserved, const char* family, double size,
                                          int32_t style)
{
    if (!font)
        return ERROR_INV_PARAMETER;
    try {
        const std::u16string wide = family ? ToUtf16(family) : std::u16string();
        return CreateFont(font, reserved, family ? wide.c_str() : nullptr, size, style);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t SvgWriterEngine::CreateFont(kvdrw::Font** font, int32_t, const char16_t* family, double size, int32_t style)
{
    if (!font || !measuring_)
        return ERROR_INV_PARAMETER;
    return MakeObject<MyFont>(font, measuring_, [&](MyFont& made) {
        return made.Create(*measuring_, family, size, style, dpiY_);
    });
}

int32_t SvgWriterEngine::CreateStringFormat(kvdrw::StringFormat** format, int32_t alignment, int32_t lineAlignment,
                                            int32_t flags)
{
    if (!format || !measuring_)
        return ERROR_INV_PARAMETER;
    return MakeObject<MyStringFormat>(format, measuring_, [&](MyStringFormat& made) {
        return made.Create(*measuring_, alignment, lineAlignment, flags);
    });
}

// ---- Transform -------------------------------------------------------------------------

int32_t SvgWriterEngine::SetTransform(const KvMatrix* matrix)
{
    if (!matrix)
        return ResetTransform();
    SvgTransformList& list = current().transform;
    if (!list.items) {
        list.items = static_cast<SvgTransform*>(KV_ALLOC(1, sizeof(SvgTransform)));
        if (!list.items)
            return ERROR_NO_MEMORY;
    }
    SvgTransform& item = list.items[0];
    item = SvgTransform{kSvgTransformSize, SVG_TRANSFORM_MATRIX, 0, matrix->m11, matrix->m12,
                        matrix->m21, matrix->m22, matrix->dx, matrix->dy};
    list.count = 1;
    return SUCCESS;
}

int32_t SvgWriterEngine::GetTransform(KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    const SvgTransformList& list = current().transform;
    if (list.count == 0 || !list.items) {
        *matrix = MatrixIdentity();
        return SUCCESS;
    }
    const SvgTransform& item = list.items[0];
    for (double value : {item.a, item.b, item.c, item.d, item.e, item.f}) {
        if (IsUnsetDouble(value)) {
            *matrix = MatrixIdentity();
            return SUCCESS;
        }
    }
    *matrix = MatrixSet(item.a, item.b, item.c, item.d, item.e, item.f);
    return SUCCESS;
}

int32_t SvgWriterEngine::AppendTransform(const KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    KvMatrix now{};
    if (int32_t status = GetTransform(&now); status != SUCCESS)
        return status;
    const KvMatrix combined = MatrixMultiply(now, *matrix);
    return SetTransform(&combined);
}

int32_t SvgWriterEngine::PrependTransform(const KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    KvMatrix now{};
    if (int32_t status = GetTransform(&now); status != SUCCESS)
        return status;
    const KvMatrix combined = MatrixMultiply(*matrix, now);
    return SetTransform(&combined);
}

int32_t SvgWriterEngine::ResetTransform()
{
    FreeTransformList(&current().transform);
    return SUCCESS;
}

// ---- State stack -------------------------------------------------------------------------

int32_t SvgWriterEngine::SaveState()
{
    if (stateTop_ + 1 >= stateCapacity_) {
        // By half at least, so that saving state a hundred thousand times
        // deep is not a copy of the whole stack every few saves.
        const int32_t step = std::max(kStateStep, stateCapacity_ / 2);
        if (stateCapacity_ > INT32_MAX - step)
            return ERROR_NO_MEMORY;
        const int32_t capacity = stateCapacity_ + step;
        auto* grown = static_cast<SvgWriterState*>(
            KV_REALLOC(states_, static_cast<size_t>(capacity) * sizeof(SvgWriterState)));
        // The stack stays as it was: the caller gets a token that restores nothing.
        if (!grown)
            return ERROR_NO_MEMORY;
        std::memset(grown + stateCapacity_, 0, static_cast<size_t>(step) * sizeof(SvgWriterState));
        states_ = grown;
        stateCapacity_ = capacity;
    }
    if (int32_t status = CopyState(states_[stateTop_], states_[stateTop_ + 1]); status != SUCCESS)
        return status;
    return ++stateTop_;
}

int32_t SvgWriterEngine::RestoreState(int32_t token)
{
    // Token 0 would restore the state before the first one: there is none.
    if (token < 1 || token > stateTop_)
        return SUCCESS;
    for (int32_t i = token; i <= stateTop_; ++i)
        FreeState(states_[i]);
    stateTop_ = token - 1;
    return SUCCESS;
}

// ---- Settings and measuring ------------------------------------------------------------------

int32_t SvgWriterEngine::SetResolution(double dpi)
{
    if (dpi < 0)
        return ERROR_INV_PARAMETER;
    dpiY_ = dpi < 1.0 ? 96.0 : dpi;
    return SUCCESS;
}

int32_t SvgWriterEngine::SetQualityA(int32_t quality)
{
    if (quality >= 0 && quality <= 2)
        current().textQuality = QualityToRendering(quality);
    return measuring_->SetQualityA(quality);
}

int32_t SvgWriterEngine::GetQualityA()
{
    return RenderingToQuality(current().textQuality);
}

int32_t SvgWriterEngine::SetQualityB(int32_t quality)
{
    if (quality >= 0 && quality <= 2)
        current().shapeQuality = QualityToRendering(quality);
    return measuring_->SetQualityB(quality);
}

int32_t SvgWriterEngine::GetQualityB()
{
    return RenderingToQuality(current().shapeQuality);
}

int32_t SvgWriterEngine::SetDrawingMode(int32_t mode)
{
    return measuring_->SetDrawingMode(mode);
}

int32_t SvgWriterEngine::GetDrawingMode()
{
    return measuring_->GetDrawingMode();
}

int32_t SvgWriterEngine::MeasureStringNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Size* size)
{
    return measuring_->MeasureStringNarrow(text, length, InnerFont(font), size);
}

int32_t SvgWriterEngine::MeasureString(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Size* size)
{
    return measuring_->MeasureString(text, length, InnerFont(font), size);
}

int32_t SvgWriterEngine::MeasureStringInSize(const char16_t* text, int32_t length, kvdrw::Font* font,
                                             const kvdrw::Size* layout, kvdrw::StringFormat* format,
                                             kvdrw::Size* size)
{
    return measuring_->MeasureStringInSize(text, length, InnerFont(font), layout, InnerFormat(format), size);
}

int32_t SvgWriterEngine::MeasureStringFitted(const char16_t* text, int32_t length, kvdrw::Font* font,
                                             const kvdrw::Size* layout, kvdrw::StringFormat* format,
                                             kvdrw::Size* size, int32_t* charactersFitted, int32_t* linesFilled)
{
    return measuring_->MeasureStringFitted(text, length, InnerFont(font), layout, InnerFormat(format), size,
                                           charactersFitted, linesFilled);
}

}  // namespace kvdrw::svg
