// One owner per handle of the drawing libraries underneath (cairo, FreeType,
// HarfBuzz, fontconfig), so that no logic code ever calls a raw destroy. The
// handles live in the libraries' own memory, outside the tracked blocks.
#pragma once

#include <memory>

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb.h>

namespace kvdrw::native {

template <class T, void (*Destroy)(T*)>
struct HandleDeleter {
    void operator()(T* handle) const
    {
        if (handle)
            Destroy(handle);
    }
};

inline void DestroyFtLibrary(FT_LibraryRec_* library) { FT_Done_FreeType(library); }
inline void DestroyFtFace(FT_FaceRec_* face) { FT_Done_Face(face); }

using CairoContext = std::unique_ptr<cairo_t, HandleDeleter<cairo_t, cairo_destroy>>;
using CairoSurface = std::unique_ptr<cairo_surface_t, HandleDeleter<cairo_surface_t, cairo_surface_destroy>>;
using CairoPattern = std::unique_ptr<cairo_pattern_t, HandleDeleter<cairo_pattern_t, cairo_pattern_destroy>>;
using FtLibrary = std::unique_ptr<FT_LibraryRec_, HandleDeleter<FT_LibraryRec_, DestroyFtLibrary>>;
using FtFace = std::unique_ptr<FT_FaceRec_, HandleDeleter<FT_FaceRec_, DestroyFtFace>>;
using HbBlob = std::unique_ptr<hb_blob_t, HandleDeleter<hb_blob_t, hb_blob_destroy>>;
using HbFace = std::unique_ptr<hb_face_t, HandleDeleter<hb_face_t, hb_face_destroy>>;
using HbFont = std::unique_ptr<hb_font_t, HandleDeleter<hb_font_t, hb_font_destroy>>;
using HbBuffer = std::unique_ptr<hb_buffer_t, HandleDeleter<hb_buffer_t, hb_buffer_destroy>>;
using FcPatternOwner = std::unique_ptr<FcPattern, HandleDeleter<FcPattern, FcPatternDestroy>>;

}  // namespace kvdrw::native
