// What the recording-engine tests share: an engine with its document, freed
// in the order the engine needs, the saved SVG text a caller would see, and
// engine objects that go back to their engine.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

namespace kvtest {

inline KvColor Rgb(int r, int g, int b, int a = 255)
{
    return {uint8_t(a), uint8_t(r), uint8_t(g), uint8_t(b)};
}

// The document as saved in one line, without the XML declaration.
inline std::string SavedText(SvgHandle document)
{
    SvgSaveOptions save{};
    save.size = kSvgSaveOptionsSize;
    void* block = nullptr;
    size_t size = 0;
    if (K_SvgSaveDocumentMemory(document, &block, &size, &save) != SUCCESS)
        return "(save failed)";
    std::string text(static_cast<const char*>(block), size);
    K_SvgFreeMemory(block);
    const size_t root = text.find("<svg");
    return root == std::string::npos ? text : text.substr(root);
}

// What stands between the root's start and end tags.
inline std::string BodyText(SvgHandle document)
{
    const std::string text = SavedText(document);
    const size_t open = text.find('>');
    if (open == std::string::npos || text[open - 1] == '/')
        return "";
    const size_t close = text.rfind("</svg>");
    return text.substr(open + 1, close - open - 1);
}

// K_Draw_ToSvg's engine and document; the engine goes first.
class Recording {
public:
    explicit Recording(const SvgFileOptions* options = nullptr)
    {
        void* engine = nullptr;
        status_ = K_Draw_ToSvg(&engine, &document_, options);
        engine_ = static_cast<kvdrw::Engine*>(engine);
    }
    ~Recording()
    {
        DestroyEngine();
        K_SvgFreeNode(document_);
    }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    int32_t status() const { return status_; }
    kvdrw::Engine& engine() { return *engine_; }
    kvdrw::Engine* operator->() { return engine_; }
    SvgHandle document() const { return document_; }
    void DestroyEngine()
    {
        if (engine_) {
            EXPECT_EQ(K_Draw_DestroySvgEngine(engine_), SUCCESS);
        }
        engine_ = nullptr;
    }
    std::string Body() const { return BodyText(document_); }

private:
    int32_t status_ = FAILURE;
    kvdrw::Engine* engine_ = nullptr;
    SvgHandle document_ = nullptr;
};

// Gives an engine object back to the engine that made it.
template <class T>
class Object {
public:
    explicit Object(kvdrw::Engine& engine) : engine_(engine) {}
    ~Object()
    {
        if (object_)
            engine_.DeleteObject(object_);
    }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }
    T* operator->() const { return object_; }

private:
    kvdrw::Engine& engine_;
    T* object_ = nullptr;
};

}  // namespace kvtest
