// Exports of the recording engine. The void* of the C boundary is a
// kvdrw::Engine* for C++ callers.
#include "document/svg_document_handler.h"
#include "kvsvg/kvsvg.h"
#include "writer/svg_writer_engine.h"

using kvdrw::svg::SvgWriterEngine;

int32_t K_Draw_ToSvg(void** engine, SvgHandle* document, const SvgFileOptions* options)
{
    if (!engine || !document)
        return ERROR_INV_PARAMETER;
    SvgWriterEngine* madeEngine = nullptr;
    SvgDocumentHandler* madeDocument = nullptr;
    const int32_t status = kvdrw::svg::DrawToSvg(&madeEngine, &madeDocument, options);
    if (status != SUCCESS)
        return status;
    *document = ToHandle(madeDocument);
    *engine = static_cast<kvdrw::Engine*>(madeEngine);
    return SUCCESS;
}

int32_t K_Draw_DestroySvgEngine(void* engine)
{
    if (!engine)
        return ERROR_INV_PARAMETER;
    SvgWriterEngine* writer = kvdrw::svg::AsSvgWriterEngine(engine);
    if (!writer)
        return ERROR_INV_PARAMETER;
    SvgWriterEngine::Destroy(writer);
    return SUCCESS;
}

int32_t K_Draw_SetTextExtraParams(void* engine, const SvgTextExtraParams* params)
{
    if (!engine)
        return ERROR_INV_PARAMETER;
    if (params && params->size != kSvgTextExtraParamsSize)
        return ERROR_RECORD_SIZE;
    SvgWriterEngine* writer = kvdrw::svg::AsSvgWriterEngine(engine);
    if (!writer)
        return ERROR_INV_PARAMETER;
    writer->SetTextExtraParams(params);
    return SUCCESS;
}
