// The older road's XML reader fed the input directly, then the whole vector
// road behind it: the tree built into a vector object and that object
// written back as the older SVG text. The vector library is the in-memory
// stand-in the filter tests use, linked in, so the road runs without the
// host's library. A hostile input (entities, nesting, huge sizes, uses of
// uses) must end with a status; what the road writes must load again in the
// modern reader and read again in the older one; every vector and every
// object read from it goes back to the library.
#include <string>
#include <string_view>

#include "filter/legacy_vector_builder.h"
#include "filter/vector_library.h"
#include "filter/vector_svg_writer.h"
#include "fuzz_support.h"
#include "kvsvg/kvvec.h"
#include "legacy/adv_xml_parser.h"

// The stand-in's counters of what is alive (tests/filter/vector_double).
extern "C" int32_t KVecDoubleLiveVectors();
extern "C" int32_t KVecDoubleLiveReadings();

namespace {

using namespace AdvXMLParser;

// A walk that reads every node as the road's callers do. The expanded text
// of every container is read once, at the document: read at every level it
// would cost the depth times the text, which no caller does.
void Walk(const Node& node, size_t& nodes)
{
    ++nodes;
    node.GetName();
    node.GetLine();
    node.GetColumn();
    if (node.GetType() == NodeType::Element) {
        const auto& element = static_cast<const Element&>(node);
        for (const auto& attribute : element.GetAttributes()) {
            attribute->GetValue();
            attribute->GetRawValue();
        }
        std::string value;
        element.GetAttributeValue("id", &value);
        if (element.GetName() == "text")
            element.GetTaggedText();
    }
    if (auto* container = dynamic_cast<const NodeContainer*>(&node)) {
        for (const auto& child : container->GetChildren())
            Walk(*child, nodes);
    } else {
        node.GetValue();
    }
}

VectorCalls StandIn()
{
    VectorCalls calls{};
    calls.getParallelogram = K_VecGetParallelogram;
    calls.getUnit = K_VecGetUnit;
    calls.getLogPen = K_VecGetLogPen;
    calls.getLogBrush = K_VecGetLogBrush;
    calls.getObject = K_VecGetObject;
    calls.freeObject = K_VecFreeObject;
    calls.objectGetPolyPoint = K_VecObjectGetPolyPoint;
    calls.createPolyPoint = K_VecCreatePolyPoint;
    calls.create = K_VecCreate;
    calls.free = K_VecFree;
    calls.setParallelogram = K_VecSetParallelogram;
    calls.setUnit = K_VecSetUnit;
    calls.addPen = K_VecAddPen;
    calls.addBrush = K_VecAddBrush;
    calls.addObject = K_VecAddObject;
    return calls;
}

void ReadTree(const uint8_t* data, size_t size)
{
    std::unique_ptr<Document> document;
    ParseError error;
    int32_t status = ParseDocument(data, size, &document, &error);
    if (status != SUCCESS) {
        if (document)
            kvfuzz::Fail("a failed parse handed out a document", status);
        if (status != ERROR_FILE_FORMAT && status != ERROR_MAX_ELEMENTS && status != ERROR_NO_MEMORY)
            kvfuzz::Fail("the reader gave a status outside its list", status);
        if (status == ERROR_FILE_FORMAT && (error.number < 1 || error.line < 1 || error.column < 1))
            kvfuzz::Fail("a syntax fault without its number and place", error.number);
        return;
    }
    if (!document)
        kvfuzz::Fail("a parse succeeded without a document");
    size_t nodes = 0;
    Walk(*document, nodes);
    document->GetValue();
    for (const auto& entity : document->GetEntities())
        document->FindEntity(entity.first);
}

void RunVectorRoad(const uint8_t* data, size_t size)
{
    static const VectorCalls calls = StandIn();
    std::string_view text(reinterpret_cast<const char*>(data), size);
    void* vector = nullptr;
    int32_t status = BuildVectorFromLegacyText(calls, text, &vector);
    if (status != SUCCESS) {
        if (vector)
            kvfuzz::Fail("a failed build handed out a vector", status);
        return;
    }
    std::string written;
    status = WriteVectorAsSvg(calls, vector, written);
    calls.free(vector);
    if (status != SUCCESS)
        kvfuzz::Fail("a vector the road built does not write", status);

    kvfuzz::Document reloaded;
    status = K_SvgLoadDocumentMemory(written.data(), written.size(), reloaded.out(), nullptr);
    if (status != SUCCESS) {
        kvfuzz::Report("written", kvfuzz::WideFromBytes(written));
        kvfuzz::Fail("the older SVG text does not load", status);
    }
    std::unique_ptr<Document> again;
    status = ParseDocument(written.data(), written.size(), &again);
    if (status != SUCCESS) {
        kvfuzz::Report("written", kvfuzz::WideFromBytes(written));
        kvfuzz::Fail("the older SVG text does not read in the older reader", status);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    ReadTree(data, size);
    RunVectorRoad(data, size);
    if (KVecDoubleLiveVectors() != 0 || KVecDoubleLiveReadings() != 0)
        kvfuzz::Fail("the road left vectors or readings with the library", KVecDoubleLiveReadings());
    return 0;
}
