/* Loads an SVG file, flattens it, measures it and draws it to a PNG file of
 * the given width on white:
 *
 *   render_png IN.svg OUT.png [WIDTH]
 *
 * Build against an installed kvsvg:
 *   cc render_png.c $(pkg-config --cflags --libs kvsvg) -lm -o render_png
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include <kvsvg/kvbase.h>
#include <kvsvg/kvsvg.h>

#include "example_utf16.h"

static int failed(const char* what, int32_t status)
{
    fprintf(stderr, "render_png: %s failed with status %d\n", what, (int)status);
    return 1;
}

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) {
        fprintf(stderr, "usage: render_png IN.svg OUT.png [WIDTH]\n");
        return 2;
    }
    const double width = argc == 4 ? atof(argv[3]) : 480.0;
    if (!(width >= 1.0 && width <= 16384.0)) {
        fprintf(stderr, "render_png: WIDTH must be between 1 and 16384\n");
        return 2;
    }
    char16_t* in = example_utf16(argv[1]);
    SvgHandle document = NULL, flat = NULL;
    KvBitmap bitmap;
    void* png = NULL;
    size_t pngSize = 0;
    int result = 1;
    int32_t status;
    K_BitmapInit(&bitmap, kKvBitmapSize, 0, 0, 32, KV_ORDER_BGR);

    SvgLoadOptions load = {kSvgLoadOptionsSize, SVG_LOAD_NORMALIZE, 0};
    if ((status = K_SvgLoadDocument(in, &document, &load)) != SUCCESS) {
        result = failed("load", status);
        goto done;
    }
    /* Drawing works on the flat form: transforms baked, style on every shape. */
    K_SvgFlatOptions flatOptions = {kSvgFlatOptionsSize, 0.0, 0.0, 0};
    if ((status = K_SvgFlatDocument(document, &flat, &flatOptions)) != SUCCESS) {
        result = failed("flatten", status);
        goto done;
    }
    SvgBounds bounds = {kSvgBoundsSize};
    if ((status = K_SvgCalculateBounds(flat, 0)) != SUCCESS ||
        (status = K_SvgGetBounds(flat, &bounds, kSvgBoundsSize)) != SUCCESS) {
        result = failed("bounds", status);
        goto done;
    }
    if (!bounds.hasBounds || !(bounds.width > 0.0) || !(bounds.height > 0.0)) {
        fprintf(stderr, "render_png: the drawing covers nothing\n");
        goto done;
    }
    /* Keep the aspect ratio: the width decides the scale. */
    const double scale = width / bounds.width;
    const int32_t pixelsWide = (int32_t)ceil(bounds.width * scale - 1e-6);
    const int32_t pixelsHigh = (int32_t)ceil(bounds.height * scale - 1e-6);
    K_BitmapInit(&bitmap, kKvBitmapSize, pixelsWide, pixelsHigh > 0 ? pixelsHigh : 1, 32, KV_ORDER_BGR);
    if ((status = K_BitmapAllocate(&bitmap)) != SUCCESS) {
        result = failed("allocate the bitmap", status);
        goto done;
    }
    SvgRenderOptions options = {0};
    options.structSize = kSvgRenderOptionsSize;
    options.flags = 1;              /* paint the background */
    options.backColor = 0xFFFFFF;   /* white, as 0x00BBGGRR */
    options.bounds = (KvRectangle){bounds.x, bounds.y, bounds.width, bounds.height};
    options.transform = (KvMatrix){scale, 0.0, 0.0, scale, -bounds.x * scale, -bounds.y * scale, 0};
    options.renderFlags = SVG_RENDER_FULL_PAINT;
    if ((status = K_SvgRasterizeDocument(&bitmap, flat, &options)) != SUCCESS) {
        result = failed("draw", status);
        goto done;
    }
    if ((status = K_BitmapSavePng(&bitmap, 32, &png, &pngSize)) != SUCCESS) {
        result = failed("encode PNG", status);
        goto done;
    }
    FILE* file = fopen(argv[2], "wb");
    if (!file || fwrite(png, 1, pngSize, file) != pngSize || fclose(file) != 0) {
        fprintf(stderr, "render_png: cannot write %s\n", argv[2]);
        goto done;
    }
    printf("wrote %s: %d x %d pixels\n", argv[2], (int)bitmap.width, (int)bitmap.height);
    result = 0;

done:
    K_SvgFreeMemory(png);
    K_BitmapFree(&bitmap);
    K_SvgFreeNode(flat);
    K_SvgFreeNode(document);
    free(in);
    return result;
}
