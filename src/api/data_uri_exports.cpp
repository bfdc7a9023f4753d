// Exports of the data-URI family. The routines behind them check their own
// arguments in the order callers rely on, so each export is one call.
#include "kvsvg/kvsvg_datauri.h"

#include "document/svg_data_uri.h"

int32_t K_SvgParseDataUri(const KvChar* text, SvgDataUri* dataUri, uint32_t size)
{
    return ParseDataUri(text, dataUri, size);
}

int32_t K_SvgDecodeDataUriToMemory(const SvgDataUri* dataUri, void** block, size_t* size)
{
    return DecodeDataUriToMemory(dataUri, block, size);
}

int32_t K_SvgDecodeDataUriToFile(const SvgDataUri* dataUri, const KvChar* path)
{
    return DecodeDataUriToFile(dataUri, path);
}

int32_t K_SvgEncodeDataUriFromMemory(const void* block, size_t size, KvChar** text, size_t* length)
{
    return EncodeDataUriFromMemory(block, size, text, length);
}

int32_t K_SvgEncodeDataUriFromFile(const KvChar* path, KvChar** text, size_t* length)
{
    return EncodeDataUriFromFile(path, text, length);
}
