/* The library takes text as zero-terminated UTF-16; command lines and
 * terminals speak UTF-8. This turns one into the other for the examples. */
#ifndef KVSVG_EXAMPLE_UTF16_H
#define KVSVG_EXAMPLE_UTF16_H

#include <stdlib.h>
#include <string.h>
#include <uchar.h>

/* A malloc'ed UTF-16 copy of a UTF-8 string (free it), or NULL. A broken
 * sequence becomes U+FFFD. */
static char16_t* example_utf16(const char* utf8)
{
    size_t length = strlen(utf8);
    char16_t* out = malloc((2 * length + 1) * sizeof *out);
    size_t used = 0;
    if (!out)
        return NULL;
    for (size_t i = 0; i < length;) {
        unsigned char lead = (unsigned char)utf8[i];
        size_t size = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
        char32_t code = 0xFFFD;
        if (size == 0 || i + size > length) {
            size = 1;
        } else {
            code = size == 1 ? lead : (char32_t)(lead & (0x7F >> size));
            for (size_t k = 1; k < size; ++k)
                code = (code << 6) | ((unsigned char)utf8[i + k] & 0x3F);
        }
        i += size;
        if (code >= 0x10000) {
            code -= 0x10000;
            out[used++] = (char16_t)(0xD800 + (code >> 10));
            out[used++] = (char16_t)(0xDC00 + (code & 0x3FF));
        } else {
            out[used++] = (char16_t)code;
        }
    }
    out[used] = 0;
    return out;
}

#endif
