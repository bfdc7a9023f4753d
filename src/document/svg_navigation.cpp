#include "document/svg_navigation.h"

#include <new>
#include <string>
#include <vector>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_document_handler.h"

namespace {

// A wrapped node, given back to the library unless handed out.
class WrappedNode {
public:
    int32_t Wrap(SvgBaseHandler* source, pugi::xml_node node)
    {
        SvgBaseHandler* made = nullptr;
        int32_t status = WrapXmlNode(&made, node);
        handler_.reset(made);
        if (status == SUCCESS)
            AttachOwner(source, handler_.get());
        return status;
    }
    SvgBaseHandler* get() const { return handler_.get(); }
    SvgHandle release() { return ToHandle(handler_.release()); }

private:
    SvgHandlerPtr handler_;
};

pugi::xml_node Relative(pugi::xml_node node, SvgRelative relative)
{
    switch (relative) {
    case SvgRelative::Parent:
        return node.parent();
    case SvgRelative::FirstChild:
        return node.first_child();
    case SvgRelative::LastChild:
        return node.last_child();
    case SvgRelative::NextSibling:
        return node.next_sibling();
    case SvgRelative::PreviousSibling:
        return node.previous_sibling();
    }
    return {};
}

// Runs a query; a malformed one finds nothing rather than failing.
template <class Result, class Select>
int32_t RunQuery(const char16_t* query, Select select, Result& result)
{
    try {
        std::string text = ToUtf8(query);
        result = select(text.c_str());
        return SUCCESS;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    } catch (const pugi::xpath_exception&) {
        result = Result();
        return SUCCESS;
    }
}

bool IsChildOf(pugi::xml_node parent, pugi::xml_node node)
{
    for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
        if (child == node)
            return true;
    }
    return false;
}

}  // namespace

int32_t GetRelativeNode(SvgBaseHandler* handler, SvgRelative relative, SvgHandle* result)
{
    if (!handler || !result)
        return ERROR_INV_PARAMETER;
    *result = nullptr;
    if (!handler->node())
        return ERROR_NODE_UNBOUND;
    pugi::xml_node found = Relative(handler->node(), relative);
    if (!found)
        return SUCCESS;
    WrappedNode wrapped;
    if (int32_t status = wrapped.Wrap(handler, found); status != SUCCESS)
        return status;
    *result = wrapped.release();
    return SUCCESS;
}

int32_t SelectSingleNode(SvgBaseHandler* handler, const char16_t* query, SvgHandle* result)
{
    if (!handler || !query || !result)
        return ERROR_INV_PARAMETER;
    *result = nullptr;
    if (!handler->node())
        return ERROR_NODE_UNBOUND;
    pugi::xpath_node match;
    pugi::xml_node context = handler->node();
    if (int32_t status = RunQuery(query, [&](const char* text) { return context.select_node(text); }, match);
        status != SUCCESS)
        return status;
    if (match.attribute() || !match.node())
        return SUCCESS;
    WrappedNode wrapped;
    if (int32_t status = wrapped.Wrap(handler, match.node()); status != SUCCESS)
        return status;
    *result = wrapped.release();
    return SUCCESS;
}

int32_t SelectNodes(SvgBaseHandler* handler, const char16_t* query, SvgNodesIterator* iterator)
{
    if (!handler || !query || !iterator)
        return ERROR_INV_PARAMETER;
    if (iterator->size != kSvgNodesIteratorSize)
        return ERROR_RECORD_SIZE;
    pugi::xpath_node_set matches;
    pugi::xml_node context = handler->node();
    if (int32_t status = RunQuery(query, [&](const char* text) { return context.select_nodes(text); }, matches);
        status != SUCCESS)
        return status;
    matches.sort();
    iterator->count = static_cast<int32_t>(matches.size());
    iterator->nodes = nullptr;
    if (matches.empty())
        return SUCCESS;
    iterator->nodes = static_cast<SvgHandle*>(KV_ALLOC_ZERO(matches.size(), sizeof(SvgHandle)));
    if (!iterator->nodes) {
        iterator->count = 0;
        return ERROR_NO_MEMORY;
    }
    // Attributes and empty matches keep their place in the count but not in
    // the array: slots fill from the front and the nulls gather at the end.
    size_t slot = 0;
    for (const pugi::xpath_node& match : matches) {
        if (match.attribute() || !match.node())
            continue;
        WrappedNode wrapped;
        if (int32_t status = wrapped.Wrap(handler, match.node()); status != SUCCESS) {
            FreeIterator(iterator);
            return status;
        }
        iterator->nodes[slot++] = wrapped.release();
    }
    return SUCCESS;
}

int32_t FreeIterator(SvgNodesIterator* iterator)
{
    if (!iterator)
        return ERROR_INV_PARAMETER;
    if (iterator->size != kSvgNodesIteratorSize)
        return ERROR_RECORD_SIZE;
    if (iterator->count < 1)
        return SUCCESS;
    for (int32_t i = 0; i < iterator->count; ++i)
        DestroySvgHandler(AsHandler(iterator->nodes[i]));
    KV_FREE(iterator->nodes);
    iterator->count = 0;
    return SUCCESS;
}

int32_t EnumerateElements(SvgBaseHandler* handler, uint32_t mode, SvgElementCallback callback, void* userData)
{
    if (!handler)
        return ERROR_INV_PARAMETER;
    if (mode > kSvgEnumPostorder)
        return SUCCESS;
    SvgDocumentHandler* document = handler->ResolveDocument();

    // One frame per open level: the parent whose children are being visited,
    // the child to visit next (taken before the callback runs, so the callback
    // may remove the child it is given), and the handle of the element whose
    // children these are. The walk keeps its own stack, so a deep tree costs
    // heap rather than call stack.
    struct Frame {
        pugi::xml_node parent;
        pugi::xml_node next;
        SvgBaseHandler* owner;
    };
    std::vector<Frame> frames;
    auto releaseAll = [&] {
        for (Frame& frame : frames)
            DestroySvgHandler(frame.owner);
    };
    // A callback that removed nodes may have taken remembered nodes with it:
    // the next sibling of a level, or an element whose children are open.
    // After such a callback every level is checked against the live tree,
    // and a level whose place is gone ends early instead of stepping onto a
    // freed node. Walks whose callbacks remove nothing pay nothing for this.
    uint64_t generation = document ? document->removalGeneration() : 0;
    auto revalidate = [&] {
        if (!document || document->removalGeneration() == generation)
            return;
        generation = document->removalGeneration();
        for (size_t level = 1; level < frames.size(); ++level) {
            if (!IsChildOf(frames[level - 1].parent, frames[level].parent)) {
                for (size_t gone = level; gone < frames.size(); ++gone)
                    DestroySvgHandler(frames[gone].owner);
                frames.resize(level);
                frames.back().next = pugi::xml_node();
                break;
            }
        }
        for (Frame& frame : frames) {
            if (frame.next && !IsChildOf(frame.parent, frame.next))
                frame.next = pugi::xml_node();
        }
    };

    try {
        frames.push_back({handler->node(), handler->node().first_child(), nullptr});
        while (!frames.empty()) {
            Frame& frame = frames.back();
            if (!frame.next) {
                SvgBaseHandler* finished = frame.owner;
                frames.pop_back();
                if (!finished)
                    continue;
                int32_t status = SUCCESS;
                if (mode == kSvgEnumPostorder)
                    status = CallElementCallback(ToHandle(finished), callback, userData);
                DestroySvgHandler(finished);
                revalidate();
                if (status != SUCCESS) {
                    releaseAll();
                    return status;
                }
                continue;
            }
            pugi::xml_node child = frame.next;
            pugi::xml_node parent = frame.parent;
            frame.next = child.next_sibling();
            if (!*child.name())
                continue;
            WrappedNode wrapped;
            if (int32_t status = wrapped.Wrap(handler, child); status != SUCCESS) {
                releaseAll();
                return status;
            }
            if (document) {
                if (!document->IsDocument()) {
                    releaseAll();
                    return ERROR_INV_PARAMETER;
                }
                int32_t skip = 0;
                if (document->HasFilterCallback()) {
                    if (int32_t status = document->ApplyFilterCallback(wrapped.get(), -1, &skip); status != SUCCESS) {
                        releaseAll();
                        return status;
                    }
                }
                if (skip)
                    continue;
            }
            if (mode == kSvgEnumPostorder) {
                frames.push_back({child, child.first_child(), wrapped.get()});
                wrapped.release();
                continue;
            }
            if (int32_t status = CallElementCallback(ToHandle(wrapped.get()), callback, userData); status != SUCCESS) {
                releaseAll();
                return status;
            }
            bool removedSome = document && document->removalGeneration() != generation;
            revalidate();
            bool childAlive = !removedSome || (frames.back().parent == parent && IsChildOf(parent, child));
            if (mode == kSvgEnumPreorder && childAlive) {
                frames.push_back({child, child.first_child(), wrapped.get()});
                wrapped.release();
            }
        }
    } catch (const std::bad_alloc&) {
        releaseAll();
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}
