#include "drawing/font_cache.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <unordered_map>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include FT_TRUETYPE_TABLES_H
#include <hb-ot.h>

#include "base/utf.h"
#include "drawing/third_party_handles.h"

namespace kvdrw::native {

namespace {

using FcConfigOwner = std::unique_ptr<FcConfig, HandleDeleter<FcConfig, FcConfigDestroy>>;
using FcFontSetOwner = std::unique_ptr<FcFontSet, HandleDeleter<FcFontSet, FcFontSetDestroy>>;
using FcCharSetOwner = std::unique_ptr<FcCharSet, HandleDeleter<FcCharSet, FcCharSetDestroy>>;

// A slant of about 11 degrees when the family has no italic face.
constexpr double kSyntheticSlant = 0.2;

// One lock for every FreeType call: faces share the library, and a face may
// not be used by two threads at once.
std::mutex& FreeTypeLock()
{
    static std::mutex lock;
    return lock;
}

struct OutlineSink {
    GlyphOutline* outline;
    KvPoint last{0, 0};
    bool open = false;

    void Close()
    {
        if (open && !outline->types.empty()) {
            int32_t& type = outline->types.back();
            if (type == 2)
                type = 3;
            else if (type == 4)
                type = 5;
        }
        open = false;
    }
    void Add(KvPoint p, int32_t type)
    {
        outline->points.push_back(p);
        outline->types.push_back(type);
    }
};

KvPoint ToPoint(const FT_Vector* v) { return {double(v->x), double(v->y)}; }

int MoveTo(const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->Close();
    sink->last = ToPoint(to);
    sink->Add(sink->last, 6);
    sink->open = true;
    return 0;
}

int LineTo(const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->last = ToPoint(to);
    sink->Add(sink->last, 2);
    return 0;
}

int ConicTo(const FT_Vector* control, const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    KvPoint c = ToPoint(control), p = ToPoint(to), s = sink->last;
    sink->Add({s.x + 2.0 / 3.0 * (c.x - s.x), s.y + 2.0 / 3.0 * (c.y - s.y)}, 4);
    sink->Add({p.x + 2.0 / 3.0 * (c.x - p.x), p.y + 2.0 / 3.0 * (c.y - p.y)}, 4);
    sink->Add(p, 4);
    sink->last = p;
    return 0;
}

int CubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->Add(ToPoint(c1), 4);
    sink->Add(ToPoint(c2), 4);
    sink->last = ToPoint(to);
    sink->Add(sink->last, 4);
    return 0;
}

class CachedFace final : public FontFace {
public:
    CachedFace(FtFace face, HbFont font, std::string family, bool syntheticBold, bool syntheticItalic)
        : face_(std::move(face)), font_(std::move(font)), family_(std::move(family)),
          syntheticBold_(syntheticBold), syntheticItalic_(syntheticItalic)
    {
        FT_Face f = face_.get();
        metrics_.unitsPerEm = f->units_per_EM ? f->units_per_EM : 2048;
        metrics_.ascent = f->ascender;
        metrics_.descent = -double(f->descender);
        metrics_.lineSpacing = std::max<double>(f->height, metrics_.ascent + metrics_.descent);
        metrics_.underlinePosition = f->underline_position;
        metrics_.underlineThickness = f->underline_thickness ? f->underline_thickness : metrics_.unitsPerEm / 14;
        metrics_.maxAdvance = f->max_advance_width;
        auto* os2 = static_cast<TT_OS2*>(FT_Get_Sfnt_Table(f, FT_SFNT_OS2));
        if (os2 && os2->version != 0xFFFF && os2->yStrikeoutSize > 0) {
            metrics_.strikeOutPosition = os2->yStrikeoutPosition;
            metrics_.strikeOutThickness = os2->yStrikeoutSize;
            metrics_.averageWidth = os2->xAvgCharWidth;
        } else {
            metrics_.strikeOutThickness = metrics_.underlineThickness;
            metrics_.strikeOutPosition = metrics_.ascent * 0.3 + metrics_.strikeOutThickness / 2;
            metrics_.averageWidth = metrics_.maxAdvance / 2;
        }
    }

    const std::string& familyName() const override { return family_; }
    const FaceMetrics& metrics() const override { return metrics_; }
    bool HasGlyph(uint32_t character) const override
    {
        hb_codepoint_t glyph = 0;
        return hb_font_get_nominal_glyph(font_.get(), character, &glyph) && glyph != 0;
    }
    hb_font_t* shapingFont() const override { return font_.get(); }

    const GlyphOutline* Outline(uint32_t glyph) const override
    {
        std::lock_guard<std::mutex> guard(FreeTypeLock());
        auto found = outlines_.find(glyph);
        if (found != outlines_.end())
            return &found->second;
        FT_Face f = face_.get();
        if (FT_Load_Glyph(f, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP | FT_LOAD_IGNORE_TRANSFORM))
            return nullptr;
        if (f->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
            return nullptr;
        FT_Outline* outline = &f->glyph->outline;
        if (syntheticBold_)
            FT_Outline_EmboldenXY(outline, FT_Pos(metrics_.unitsPerEm / 24), 0);
        GlyphOutline result;
        OutlineSink sink{&result};
        FT_Outline_Funcs funcs = {MoveTo, LineTo, ConicTo, CubicTo, 0, 0};
        if (FT_Outline_Decompose(outline, &funcs, &sink))
            return nullptr;
        sink.Close();
        if (syntheticItalic_) {
            for (KvPoint& p : result.points)
                p.x += p.y * kSyntheticSlant;
        }
        if (!result.points.empty()) {
            result.hasInk = true;
            result.left = result.right = result.points[0].x;
            result.bottom = result.top = result.points[0].y;
            for (const KvPoint& p : result.points) {
                result.left = std::min(result.left, p.x);
                result.right = std::max(result.right, p.x);
                result.bottom = std::min(result.bottom, p.y);
                result.top = std::max(result.top, p.y);
            }
        }
        return &outlines_.emplace(glyph, std::move(result)).first->second;
    }

private:
    FtFace face_;
    HbFont font_;
    std::string family_;
    bool syntheticBold_;
    bool syntheticItalic_;
    FaceMetrics metrics_;
    mutable std::unordered_map<uint32_t, GlyphOutline> outlines_;
};

std::string NormalisedFamily(std::u16string_view family)
{
    std::string name = ToUtf8(family);
    // Trim blanks and quotes a stylesheet may leave around the name.
    auto isTrimmed = [](char c) { return c == ' ' || c == '\t' || c == '"' || c == '\''; };
    while (!name.empty() && isTrimmed(name.back()))
        name.pop_back();
    size_t first = 0;
    while (first < name.size() && isTrimmed(name[first]))
        ++first;
    name.erase(0, first);
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (lower.empty() || lower == "sansserif" || lower == "sans-serif" || lower == "sans")
        return "sans-serif";
    if (lower == "serif" || lower == "monospace")
        return lower;
    return name;
}

class ProcessFontCache final : public FontCache {
public:
    const FontFace* Resolve(std::u16string_view family, bool bold, bool italic) override
    {
        std::string name = NormalisedFamily(family);
        std::lock_guard<std::mutex> guard(lock_);
        auto key = std::make_tuple(name, bold, italic);
        auto known = byRequest_.find(key);
        if (known != byRequest_.end())
            return known->second;
        const FontFace* face = Match(name, bold, italic);
        if (!face && name != "sans-serif")
            face = Match("sans-serif", bold, italic);
        if (face)
            byRequest_.emplace(key, face);
        return face;
    }

    ~ProcessFontCache() override
    {
        // Faces before the library that made them; fontconfig's own tables
        // last, which only FcFini gives back.
        byRequest_.clear();
        fallbacks_.clear();
        faces_.clear();
        library_.reset();
        if (config_) {
            config_.reset();
            FcFini();
        }
    }

private:
    bool EnsureConfig()
    {
        if (!config_)
            config_.reset(FcInitLoadConfigAndFonts());
        return config_ != nullptr;
    }

    // A request as fontconfig sees it, substituted and defaulted.
    FcPatternOwner RequestPattern(const std::string& family, bool bold, bool italic, uint32_t character)
    {
        FcPatternOwner pattern(FcPatternCreate());
        if (!pattern)
            return pattern;
        FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
        FcPatternAddInteger(pattern.get(), FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
        FcPatternAddInteger(pattern.get(), FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
        FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
        if (character != 0) {
            FcCharSetOwner wanted(FcCharSetCreate());
            if (!wanted || !FcCharSetAddChar(wanted.get(), character))
                return FcPatternOwner();
            FcPatternAddCharSet(pattern.get(), FC_CHARSET, wanted.get());
        }
        FcConfigSubstitute(config_.get(), pattern.get(), FcMatchPattern);
        FcDefaultSubstitute(pattern.get());
        return pattern;
    }

    const FontFace* Match(const std::string& family, bool bold, bool italic)
    {
        if (!EnsureConfig())
            return nullptr;
        FcPatternOwner pattern = RequestPattern(family, bold, italic, 0);
        if (!pattern)
            return nullptr;
        FcResult result = FcResultNoMatch;
        FcPatternOwner match(FcFontMatch(config_.get(), pattern.get(), &result));
        if (!match)
            return nullptr;
        return OpenMatched(match.get(), family, bold, italic);
    }

    // The face of a pattern that fontconfig matched, opened once.
    const FontFace* OpenMatched(FcPattern* match, const std::string& family, bool bold, bool italic)
    {
        FcChar8* file = nullptr;
        FcChar8* matchedFamily = nullptr;
        int index = 0, weight = FC_WEIGHT_REGULAR, slant = FC_SLANT_ROMAN;
        if (FcPatternGetString(match, FC_FILE, 0, &file) != FcResultMatch || !file)
            return nullptr;
        FcPatternGetInteger(match, FC_INDEX, 0, &index);
        FcPatternGetInteger(match, FC_WEIGHT, 0, &weight);
        FcPatternGetInteger(match, FC_SLANT, 0, &slant);
        FcPatternGetString(match, FC_FAMILY, 0, &matchedFamily);
        const bool syntheticBold = bold && weight < FC_WEIGHT_DEMIBOLD;
        const bool syntheticItalic = italic && slant == FC_SLANT_ROMAN;
        std::string path = reinterpret_cast<const char*>(file);
        auto faceKey = std::make_tuple(path, index, syntheticBold, syntheticItalic);
        auto known = faces_.find(faceKey);
        if (known != faces_.end())
            return known->second.get();
        std::string familyName = matchedFamily ? reinterpret_cast<const char*>(matchedFamily) : family;
        std::unique_ptr<FontFace> face = Open(path, index, std::move(familyName), syntheticBold, syntheticItalic);
        if (!face)
            return nullptr;
        const FontFace* opened = face.get();
        faces_.emplace(faceKey, std::move(face));
        return opened;
    }

public:
    const FontFace* FallbackFor(const FontFace& primary, uint32_t character, bool bold, bool italic) override
    {
        std::lock_guard<std::mutex> guard(lock_);
        auto key = std::make_tuple(&primary, character, bold, italic);
        if (auto known = fallbacks_.find(key); known != fallbacks_.end())
            return known->second;
        const FontFace* face = FindFallback(primary, character, bold, italic);
        if (fallbacks_.size() < kMaxRememberedFallbacks)
            fallbacks_.emplace(key, face);
        return face;
    }

private:
    // Distinct characters remembered with their face; past this, a lookup
    // asks fontconfig again, which costs time but gives the same answer.
    static constexpr size_t kMaxRememberedFallbacks = 1 << 16;

    const FontFace* FindFallback(const FontFace& primary, uint32_t character, bool bold, bool italic)
    {
        if (!EnsureConfig())
            return nullptr;
        FcPatternOwner pattern = RequestPattern(primary.familyName(), bold, italic, character);
        if (!pattern)
            return nullptr;
        FcResult result = FcResultNoMatch;
        FcFontSetOwner sorted(FcFontSort(config_.get(), pattern.get(), FcFalse, nullptr, &result));
        if (!sorted)
            return nullptr;
        for (int i = 0; i < sorted->nfont; ++i) {
            FcPattern* candidate = sorted->fonts[i];
            FcCharSet* charset = nullptr;
            if (FcPatternGetCharSet(candidate, FC_CHARSET, 0, &charset) != FcResultMatch || !charset ||
                !FcCharSetHasChar(charset, character))
                continue;
            FcBool scalable = FcTrue;
            if (FcPatternGetBool(candidate, FC_SCALABLE, 0, &scalable) == FcResultMatch && !scalable)
                continue;
            FcPatternOwner prepared(FcFontRenderPrepare(config_.get(), pattern.get(), candidate));
            const FontFace* face = OpenMatched(prepared ? prepared.get() : candidate, primary.familyName(), bold,
                                               italic);
            if (face && face != &primary && face->HasGlyph(character))
                return face;
        }
        return nullptr;
    }

    std::unique_ptr<FontFace> Open(const std::string& path, int index, std::string family, bool syntheticBold,
                                   bool syntheticItalic)
    {
        std::lock_guard<std::mutex> guard(FreeTypeLock());
        if (!library_) {
            FT_Library library = nullptr;
            if (FT_Init_FreeType(&library))
                return nullptr;
            library_.reset(library);
        }
        FT_Face rawFace = nullptr;
        if (FT_New_Face(library_.get(), path.c_str(), index, &rawFace))
            return nullptr;
        FtFace face(rawFace);
        if (!FT_IS_SCALABLE(rawFace))
            return nullptr;
        HbBlob blob(hb_blob_create_from_file_or_fail(path.c_str()));
        if (!blob)
            return nullptr;
        HbFace shapingFace(hb_face_create(blob.get(), static_cast<unsigned>(index)));
        HbFont shapingFont(hb_font_create(shapingFace.get()));
        if (!shapingFont || hb_font_is_immutable(shapingFont.get()))
            return nullptr;
        const int upem = static_cast<int>(hb_face_get_upem(shapingFace.get()));
        hb_font_set_scale(shapingFont.get(), upem, upem);
        hb_ot_font_set_funcs(shapingFont.get());
        hb_font_make_immutable(shapingFont.get());
        return std::make_unique<CachedFace>(std::move(face), std::move(shapingFont), std::move(family), syntheticBold,
                                            syntheticItalic);
    }

    std::mutex lock_;
    FcConfigOwner config_;
    FtLibrary library_;
    std::map<std::tuple<std::string, int, bool, bool>, std::unique_ptr<FontFace>> faces_;
    std::map<std::tuple<std::string, bool, bool>, const FontFace*> byRequest_;
    std::map<std::tuple<const FontFace*, uint32_t, bool, bool>, const FontFace*> fallbacks_;
};

}  // namespace

FontCache& FontCache::Instance()
{
    // Lives until the process exits; no engine may outlive main().
    static ProcessFontCache cache;
    return cache;
}

}  // namespace kvdrw::native
