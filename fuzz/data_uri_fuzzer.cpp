// Data URIs both ways. The input as text is parsed and its value decoded;
// the input as bytes is encoded, and the text that makes must parse as a
// base64 data URI and decode to exactly those bytes again.
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz_support.h"

namespace {

struct Block {
    void* data = nullptr;
    size_t size = 0;
    ~Block() { K_SvgFreeMemory(data); }
};

struct Text {
    KvChar* data = nullptr;
    size_t length = 0;
    ~Text() { K_SvgFreeMemory(data); }
};

void ParseAndDecode(const std::u16string& text)
{
    SvgDataUri uri{};
    int32_t status = K_SvgParseDataUri(text.c_str(), &uri, kSvgDataUriSize);
    if (status != SUCCESS && status != ERROR_FILE_FORMAT)
        kvfuzz::Fail("parsing gave an unexpected status", status);
    if (uri.valueOffset + uri.valueLength > text.size() || uri.mediaOffset + uri.mediaLength > text.size() ||
        uri.charsetOffset + uri.charsetLength > text.size())
        kvfuzz::Fail("a part lies outside the text", static_cast<int64_t>(text.size()));
    if (status != SUCCESS)
        return;
    Block decoded;
    K_SvgDecodeDataUriToMemory(&uri, &decoded.data, &decoded.size);
}

void EncodeAndDecodeAgain(const uint8_t* data, size_t size)
{
    Text encoded;
    if (K_SvgEncodeDataUriFromMemory(data, size, &encoded.data, &encoded.length) != SUCCESS || !encoded.data)
        return;
    SvgDataUri uri{};
    if (K_SvgParseDataUri(encoded.data, &uri, kSvgDataUriSize) != SUCCESS || !uri.isDataUri || !uri.isBase64)
        kvfuzz::Fail("an encoded data URI does not parse");
    Block decoded;
    if (K_SvgDecodeDataUriToMemory(&uri, &decoded.data, &decoded.size) != SUCCESS)
        kvfuzz::Fail("an encoded data URI does not decode");
    if (decoded.size != size || (size && std::memcmp(decoded.data, data, size) != 0))
        kvfuzz::Fail("decoding an encoded block gives other bytes", static_cast<int64_t>(decoded.size));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    ParseAndDecode(kvfuzz::WideFromBytes(std::string_view(reinterpret_cast<const char*>(data), size)));
    EncodeAndDecodeAgain(data, size);
    return 0;
}
