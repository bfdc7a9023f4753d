// Setting up and tearing down the value records: Init* gives a record its
// size fields, the unset double in every number and zero elsewhere; Free*
// gives back the strings and arrays a record owns and leaves it empty but
// initialised. Element handlers build their initRecord and freeRecord on
// these.
#pragma once

#include "kvsvg/kvsvg.h"

void InitLength(SvgLength* length);
void InitPercentage(SvgPercentage* percentage);
void InitAngle(SvgAngle* angle);
void InitColor(SvgColor* color);
void InitPaint(SvgPaint* paint);
void InitViewBox(SvgViewBox* box);
void InitPreserveAspectRatio(SvgPreserveAspectRatio* ratio);
void InitDashArray(SvgDashArray* dashArray);
void InitTransformList(SvgTransformList* list);
void InitPathData(SvgPathData* data);
void InitReference(SvgReference* reference);
void InitKeywordLength(SvgKeywordLength* value);
void InitKeywordAngle(SvgKeywordAngle* value);
void InitCoreAttributes(SvgCoreAttributes* core);
void InitConditionalAttributes(SvgConditionalAttributes* conditional);
void InitXlinkAttributes(SvgXlinkAttributes* xlink);
void InitFill(SvgFill* fill);
void InitStroke(SvgStroke* stroke);
void InitTextAttributes(SvgTextAttributes* text);
void InitPaintAttributes(SvgPaintAttributes* paint);
void InitStyleProp(K_SvgStyleProp* style);
void InitTextPositionAttributes(SvgTextPositionAttributes* position);

void FreeColor(SvgColor* color);
void FreePaint(SvgPaint* paint);
void FreeDashArray(SvgDashArray* dashArray);
void FreeTransformList(SvgTransformList* list);
void FreePathData(SvgPathData* data);
void FreeReference(SvgReference* reference);
void FreeCoreAttributes(SvgCoreAttributes* core);
void FreeConditionalAttributes(SvgConditionalAttributes* conditional);
void FreeXlinkAttributes(SvgXlinkAttributes* xlink);
void FreeFill(SvgFill* fill);
void FreeStroke(SvgStroke* stroke);
void FreeTextAttributes(SvgTextAttributes* text);
void FreePaintAttributes(SvgPaintAttributes* paint);
void FreeStyleProp(K_SvgStyleProp* style);
void FreeTextPositionAttributes(SvgTextPositionAttributes* position);
// Frees a tracked array or string field and nulls it.
void FreeTrackedField(void** field);
// Replaces a string field by a tracked copy of `text` (null copies as null).
// ERROR_NO_MEMORY leaves the field null.
int32_t CopyTrackedText(KvChar** field, const KvChar* text);
