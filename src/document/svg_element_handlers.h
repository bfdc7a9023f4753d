// One class per SVG element the system understands. They add no fields and
// differ only in how they read, write, set up and free their record.
#pragma once

#include "document/svg_base_handler.h"

// (type, class) for every element class, in type order.
#define KVSVG_ELEMENT_CLASSES(X)                                                                        \
    X(2, SvgElementHandler) X(3, SvgGElementHandler) X(4, SvgDefsElementHandler)                        \
    X(5, SvgDescElementHandler) X(6, SvgTitleElementHandler) X(7, SvgSymbolElementHandler)              \
    X(8, SvgUseElementHandler) X(9, SvgImageElementHandler) X(10, SvgSwitchElementHandler)              \
    X(11, SvgStyleElementHandler) X(12, SvgPathElementHandler) X(13, SvgRectElementHandler)             \
    X(14, SvgCircleElementHandler) X(15, SvgEllipseElementHandler) X(16, SvgLineElementHandler)         \
    X(17, SvgPolyElementHandler) X(18, SvgPolygonElementHandler) X(19, SvgTextElementHandler)           \
    X(20, SvgTSpanElementHandler) X(21, SvgTRefElementHandler) X(22, SvgTextPathElementHandler)         \
    X(23, SvgAltGlyphElementHandler) X(24, SvgAltGlyphDefElementHandler)                                \
    X(25, SvgAltGlyphItemElementHandler) X(26, SvgGlyphRefElementHandler)                               \
    X(27, SvgMarkerElementHandler) X(28, SvgColorProfileElementHandler)                                 \
    X(29, SvgLinearGradientElementHandler) X(30, SvgRadialGradientElementHandler)                       \
    X(31, SvgStopElementHandler) X(32, SvgPatternElementHandler) X(33, SvgClipPathElementHandler)       \
    X(34, SvgFontElementHandler) X(35, SvgGlyphElementHandler) X(36, SvgMissingGlyphElementHandler)     \
    X(37, SvgHKernElementHandler) X(38, SvgVKernElementHandler) X(39, SvgFontFaceElementHandler)        \
    X(40, SvgFontFaceSrcElementHandler) X(41, SvgFontFaceUriElementHandler)                             \
    X(42, SvgFontFaceFormatElementHandler) X(43, SvgFontFaceNameElementHandler)                         \
    X(44, SvgDefinitionSrcElementHandler) X(45, SvgAnchorElementHandler) X(46, SvgMaskElementHandler)

#define KVSVG_DECLARE_ELEMENT_CLASS(type, name) class name;
KVSVG_ELEMENT_CLASSES(KVSVG_DECLARE_ELEMENT_CLASS)
#undef KVSVG_DECLARE_ELEMENT_CLASS

class SvgElementHandler : public SvgBaseElementHandler {};
class SvgGElementHandler : public SvgBaseElementHandler {};
class SvgDefsElementHandler : public SvgBaseElementHandler {};
class SvgDescElementHandler : public SvgBaseElementHandler {};
class SvgTitleElementHandler : public SvgBaseElementHandler {};
class SvgSymbolElementHandler : public SvgBaseElementHandler {};
class SvgUseElementHandler : public SvgBaseElementHandler {};
class SvgImageElementHandler : public SvgBaseElementHandler {};
class SvgSwitchElementHandler : public SvgBaseElementHandler {};
class SvgStyleElementHandler : public SvgBaseElementHandler {};
class SvgPathElementHandler : public SvgBaseElementHandler {};
class SvgRectElementHandler : public SvgBaseElementHandler {};
class SvgCircleElementHandler : public SvgBaseElementHandler {};
class SvgEllipseElementHandler : public SvgBaseElementHandler {};
class SvgLineElementHandler : public SvgBaseElementHandler {};
class SvgPolyElementHandler : public SvgBaseElementHandler {};
class SvgPolygonElementHandler : public SvgPolyElementHandler {};
class SvgTextElementHandler : public SvgBaseElementHandler {};
class SvgTSpanElementHandler : public SvgBaseElementHandler {};
class SvgTRefElementHandler : public SvgBaseElementHandler {};
class SvgTextPathElementHandler : public SvgBaseElementHandler {};
class SvgAltGlyphElementHandler : public SvgBaseElementHandler {};
class SvgAltGlyphDefElementHandler : public SvgBaseElementHandler {};
class SvgAltGlyphItemElementHandler : public SvgBaseElementHandler {};
class SvgGlyphRefElementHandler : public SvgBaseElementHandler {};
class SvgMarkerElementHandler : public SvgBaseElementHandler {};
class SvgColorProfileElementHandler : public SvgBaseElementHandler {};
class SvgLinearGradientElementHandler : public SvgBaseElementHandler {};
class SvgRadialGradientElementHandler : public SvgBaseElementHandler {};
class SvgStopElementHandler : public SvgBaseElementHandler {};
class SvgPatternElementHandler : public SvgBaseElementHandler {};
class SvgClipPathElementHandler : public SvgBaseElementHandler {};
class SvgFontElementHandler : public SvgBaseElementHandler {};
class SvgGlyphElementHandler : public SvgBaseElementHandler {};
class SvgMissingGlyphElementHandler : public SvgBaseElementHandler {};
class SvgHKernElementHandler : public SvgBaseElementHandler {};
class SvgVKernElementHandler : public SvgBaseElementHandler {};
class SvgFontFaceElementHandler : public SvgBaseElementHandler {};
class SvgFontFaceSrcElementHandler : public SvgBaseElementHandler {};
class SvgFontFaceUriElementHandler : public SvgBaseElementHandler {};
class SvgFontFaceFormatElementHandler : public SvgBaseElementHandler {};
class SvgFontFaceNameElementHandler : public SvgBaseElementHandler {};
class SvgDefinitionSrcElementHandler : public SvgBaseElementHandler {};
class SvgAnchorElementHandler : public SvgBaseElementHandler {};
class SvgMaskElementHandler : public SvgBaseElementHandler {};
