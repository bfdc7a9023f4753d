// Reaching elements: a step to a relative, an XPath query, or a walk over
// every element with a caller's callback. Each result is a new handle made
// by WrapXmlNode and AttachOwner; nothing is cached, so a node reached twice
// gives two independent handles.
#pragma once

#include <cstdint>

#include "document/callback_guard.h"
#include "document/svg_base_handler.h"
#include "kvsvg/kvsvg.h"

enum class SvgRelative { Parent, FirstChild, LastChild, NextSibling, PreviousSibling };

// Walk modes.
constexpr uint32_t kSvgEnumChildren = 0;
constexpr uint32_t kSvgEnumPreorder = 1;
constexpr uint32_t kSvgEnumPostorder = 2;

int32_t GetRelativeNode(SvgBaseHandler* handler, SvgRelative relative, SvgHandle* result);
int32_t SelectSingleNode(SvgBaseHandler* handler, const char16_t* query, SvgHandle* result);
int32_t SelectNodes(SvgBaseHandler* handler, const char16_t* query, SvgNodesIterator* iterator);
int32_t FreeIterator(SvgNodesIterator* iterator);
int32_t EnumerateElements(SvgBaseHandler* handler, uint32_t mode, SvgElementCallback callback, void* userData);
