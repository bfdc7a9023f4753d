#include "flatten/flat_document.h"

#include "document/svg_document_handler.h"
#include "flatten/svg_flattener.h"

int32_t FlattenDocument(SvgDocumentHandler& source, const K_SvgFlatOptions* options, SvgHandle* flat)
{
    *flat = nullptr;
    CSvgFlattener flattener(options);
    SvgBaseHandler* made = nullptr;
    if (int32_t status = CreateSvgHandler(SVG_ELEMENT_DOCUMENT, &made); status != SUCCESS)
        return status;
    SvgHandlerPtr target(made);
    auto& document = static_cast<SvgDocumentHandler&>(*target);
    if (int32_t status = document.CreateEmpty(0); status != SUCCESS)
        return status;
    document.SetExactNumbers(source.exactNumbers());
    // A caller that bounds what a file may hold bounds its flat form too:
    // uses, patterns and text runs multiply elements, and a small file can
    // otherwise ask for a million of them.
    document.SetMaximumElements(source.maximumElements());
    if (int32_t status = flattener.Run(source, document); status != SUCCESS)
        return status;
    *flat = ToHandle(target.release());
    return SUCCESS;
}
