#include "flatten/clip_paths.h"

#include <cctype>
#include <cstdio>
#include <new>

#include "kvsvg/kvsvg.h"

CSvgClipPath::~CSvgClipPath()
{
    if (evenOddPath)
        engine_.DeleteObject(evenOddPath);
    if (nonZeroPath)
        engine_.DeleteObject(nonZeroPath);
}

int32_t CSvgClipPath::Create()
{
    if (int32_t status = engine_.CreatePath(&evenOddPath); status != SUCCESS)
        return status;
    if (int32_t status = evenOddPath->SetFillMode(kvdrw::kFillEvenOdd); status != SUCCESS)
        return status;
    if (int32_t status = engine_.CreatePath(&nonZeroPath); status != SUCCESS)
        return status;
    return nonZeroPath->SetFillMode(kvdrw::kFillWinding);
}

int32_t CSvgClipPath::AddGeometry(kvdrw::GraphicsPath* figure, bool evenOdd)
{
    kvdrw::GraphicsPath* target = evenOdd ? evenOddPath : nonZeroPath;
    kvdrw::PathData* data = nullptr;
    int32_t status = figure->GetPathData(&data);
    if (status != SUCCESS)
        return status;
    if (shapeCount == 0) {
        // The first shape goes straight in; later ones are united with it.
        status = target->AddPathData(data);
    } else {
        kvdrw::GraphicsPath* single = nullptr;
        status = engine_.CreatePath(&single);
        if (status == SUCCESS)
            status = single->SetFillMode(evenOdd ? kvdrw::kFillEvenOdd : kvdrw::kFillWinding);
        if (status == SUCCESS)
            status = single->AddPathData(data);
        if (status == SUCCESS)
            status = target->CombineGeometry(&engine_, single, kvdrw::kCombineUnion);
        if (single)
            engine_.DeleteObject(single);
    }
    if (data)
        engine_.DeleteObject(data);
    if (status == SUCCESS)
        ++shapeCount;
    return status;
}

std::string CSvgClipPathHash::Key(const std::string& id)
{
    std::string key(id);
    for (char& c : key)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
}

CSvgClipPath* CSvgClipPathHash::Find(const std::string& id) const
{
    auto found = clips_.find(Key(id));
    return found == clips_.end() ? nullptr : found->second.get();
}

bool CSvgClipPathHash::Add(std::unique_ptr<CSvgClipPath> clip)
{
    try {
        std::string key = Key(clip->id);
        return clips_.emplace(std::move(key), std::move(clip)).second;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

CSvgClipPath* CSvgClipPathHash::AddWithFreeId(std::unique_ptr<CSvgClipPath> clip)
{
    const std::string base = clip->id;
    for (uint32_t attempt = 0; attempt < 10000; ++attempt) {
        char suffix[16] = "";
        if (attempt > 0)
            std::snprintf(suffix, sizeof suffix, "_%u", attempt);
        const std::string candidate = "kv" + base + suffix;
        if (Find(candidate))
            continue;
        clip->id = candidate;
        CSvgClipPath* kept = clip.get();
        return Add(std::move(clip)) ? kept : nullptr;
    }
    return nullptr;
}
