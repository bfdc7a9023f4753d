// Images of the recording engine: the whole bitmap as a PNG data URI on an
// image element, stretched into the destination. An image drawn with the
// opacity -1.0 goes under everything drawn so far, after the earlier ones
// that went there.
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "base/tracked_memory.h"
#include "codecs/codecs.h"
#include "document/svg_data_uri.h"
#include "document/svg_document_handler.h"
#include "values/value_records.h"
#include "writer/svg_writer_engine.h"

namespace kvdrw::svg {

namespace {

constexpr double kBottomImageOpacity = -1.0;

// PNG holds 1, 8, 16 (grey), 24, 32 and 64 bits; the depths in between
// widen to the next one that it holds.
uint32_t PngDepthFor(const KvBitmap& bitmap)
{
    const uint32_t depth = bitmap.bitsPerPixel;
    if (depth == 16 && !(bitmap.flags & KV_BITMAP_GREY))
        return 24;
    if (depth >= 2 && depth <= 7)
        return 8;
    return 0;  // its own
}

SvgLength Length(double value)
{
    SvgLength length;
    InitLength(&length);
    length.value = value;
    return length;
}

// The bitmap as "data:image/png;base64,..." in a tracked UTF-16 string.
int32_t EncodeImageUri(const KvBitmap& bitmap, KvChar** uri)
{
    void* png = nullptr;
    size_t pngSize = 0;
    if (int32_t status = CodecSaveMemory(bitmap, kImageFormatPng, PngDepthFor(bitmap), 0, &png, &pngSize);
        status != SUCCESS)
        return status;
    TrackedPtr<void> owned(png);
    try {
        std::string base64;
        if (!EncodeBase64(png, pngSize, base64))
            return ERROR_NO_MEMORY;
        static constexpr char kPrefix[] = "data:image/png;base64,";
        const size_t prefixLength = sizeof kPrefix - 1;
        auto* text = static_cast<KvChar*>(KV_ALLOC(prefixLength + base64.size() + 1, sizeof(KvChar)));
        if (!text)
            return ERROR_NO_MEMORY;
        size_t at = 0;
        for (size_t i = 0; i < prefixLength; ++i)
            text[at++] = static_cast<KvChar>(kPrefix[i]);
        for (char c : base64)
            text[at++] = static_cast<KvChar>(c);
        text[at] = 0;
        *uri = text;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

// The image element with this id among the root's children.
SvgElementView FindImage(const SvgElementView& root, const char16_t* id)
{
    std::string wanted;
    for (const char16_t* c = id; *c; ++c)
        wanted += static_cast<char>(*c);
    for (SvgElementView child = root.FirstChild(); child; child = child.NextSibling()) {
        if (child.type() == SVG_ELEMENT_IMAGE && wanted == child.node().attribute("id").value())
            return child;
    }
    return {};
}

}  // namespace

int32_t SvgWriterEngine::DrawImage(const KvBitmap* image, const KvRectangle* destination, const KvRectangle* source,
                                   double opacity)
{
    if (!image || !destination)
        return ERROR_INV_PARAMETER;
    if ((flags_ & SVG_DRAW_DROP_IMAGES) || !source || source->width <= 0 || source->height <= 0)
        return SUCCESS;
    ScopedRecord<SvgImageElement> record(SVG_ELEMENT_IMAGE);
    if (record.status() != SUCCESS)
        return record.status();
    if (int32_t status = EncodeImageUri(*image, &record->href); status != SUCCESS)
        return status;
    char16_t id[20] = {};
    {
        char narrow[20];
        std::snprintf(narrow, sizeof narrow, "Image%d", ++imageCount_);
        for (size_t i = 0; i < sizeof narrow && narrow[i]; ++i)
            id[i] = static_cast<char16_t>(narrow[i]);
    }
    if (int32_t status = CopyTrackedText(&record->core.id, id); status != SUCCESS)
        return status;
    record->x = Length(destination->x);
    record->y = Length(destination->y);
    record->width = Length(destination->width);
    record->height = Length(destination->height);
    if (opacity != 1.0 && opacity != kBottomImageOpacity)
        record->style.opacity = opacity;
    // The destination is filled whatever the bitmap's proportions, as the
    // engines that draw stretch it.
    record->preserveAspectRatio.align = 1;

    // The state's transform and clip are lent for the insertion.
    record->transform = current().transform;
    record->style.clipPath = current().clip;
    const bool atBottom = opacity == kBottomImageOpacity;
    const int32_t status = InsertImage(record, atBottom);
    InitTransformList(&record->transform);
    InitReference(&record->style.clipPath);
    if (status == SUCCESS && atBottom)
        std::memcpy(backgroundImageId_, id, sizeof id);
    return status;
}

int32_t SvgWriterEngine::InsertImage(ScopedRecord<SvgImageElement>& record, bool atBottom)
{
    if (!atBottom)
        return root_.Insert(SVG_ELEMENT_IMAGE, record.data(), kSvgInsertLastChild);
    if (backgroundImageId_[0] == 0) {
        const SvgElementView first = root_.FirstChild();
        if (!first)
            return root_.Insert(SVG_ELEMENT_IMAGE, record.data(), kSvgInsertLastChild);
        return first.Insert(SVG_ELEMENT_IMAGE, record.data(), kSvgInsertBefore);
    }
    const SvgElementView previous = FindImage(root_, backgroundImageId_);
    // The earlier bottom image is gone from the drawing: nothing says where
    // this one belongs.
    if (!previous)
        return ERROR_ATTRIBUTE_NOT_FOUND;
    return previous.Insert(SVG_ELEMENT_IMAGE, record.data(), kSvgInsertAfter);
}

}  // namespace kvdrw::svg
