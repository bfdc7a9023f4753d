/* Loads an SVG file, recolours every rect and circle, marks its title as
 * edited, adds a dot in the top-left corner and saves the result:
 *
 *   edit_document IN.svg OUT.svg [COLOR]
 *
 * Build against an installed kvsvg:
 *   cc edit_document.c $(pkg-config --cflags --libs kvsvg) -o edit_document
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <kvsvg/kvsvg.h>

#include "example_utf16.h"

static int failed(const char* what, int32_t status)
{
    fprintf(stderr, "edit_document: %s failed with status %d\n", what, (int)status);
    return 1;
}

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) {
        fprintf(stderr, "usage: edit_document IN.svg OUT.svg [COLOR]\n");
        return 2;
    }
    char16_t* in = example_utf16(argv[1]);
    char16_t* out = example_utf16(argv[2]);
    char16_t* color = example_utf16(argc == 4 ? argv[3] : "#e53e3e");
    SvgHandle document = NULL;
    SvgNodesIterator shapes = {kSvgNodesIteratorSize, 0, NULL};
    SvgHandle root = NULL, title = NULL, dot = NULL;
    int result = 1;
    int32_t status;

    /* Standard syntax: style sheets and compact path data as editors write them. */
    SvgLoadOptions load = {kSvgLoadOptionsSize, SVG_LOAD_NORMALIZE, 0};
    if ((status = K_SvgLoadDocument(in, &document, &load)) != SUCCESS) {
        result = failed("load", status);
        goto done;
    }

    /* Select: element names are matched without a prefix. */
    if ((status = K_SvgSelectNodes(document, u"//rect | //circle", &shapes)) != SUCCESS) {
        result = failed("select", status);
        goto done;
    }
    int recoloured = 0;
    for (int32_t i = 0; i < shapes.count; ++i) {
        if (!shapes.nodes[i])
            continue;
        if ((status = K_SvgSetElementAttributeValue(shapes.nodes[i], u"fill", color)) != SUCCESS) {
            result = failed("set fill", status);
            goto done;
        }
        ++recoloured;
    }

    /* Text: the library changes character data an element already has. */
    if ((status = K_SvgSelectSingleNode(document, u"//title", &title)) != SUCCESS) {
        result = failed("select the title", status);
        goto done;
    }
    if (title && (status = K_SvgSetElementValue(title, u"edited")) != SUCCESS) {
        result = failed("set the title", status);
        goto done;
    }

    /* Insert: a dot as the root's last child, drawn over everything. */
    if ((status = K_SvgSelectSingleNode(document, u"svg", &root)) != SUCCESS || !root) {
        result = failed("find the root", status);
        goto done;
    }
    if ((status = K_SvgInsertUserElement(root, u"circle", SVG_INSERT_LAST_CHILD, &dot)) != SUCCESS) {
        result = failed("insert", status);
        goto done;
    }
    K_SvgSetElementAttributeValue(dot, u"cx", u"12");
    K_SvgSetElementAttributeValue(dot, u"cy", u"12");
    K_SvgSetElementAttributeValue(dot, u"r", u"6");
    K_SvgSetElementAttributeValue(dot, u"fill", color);

    /* Save: indented with two spaces, svgz when the name says so. */
    size_t nameLength = strlen(argv[2]);
    uint32_t compressed = nameLength > 5 && strcmp(argv[2] + nameLength - 5, ".svgz") == 0;
    SvgSaveOptions save = {kSvgSaveOptionsSize, 1, {u' ', u' ', 0}, 0, compressed};
    if ((status = K_SvgSaveDocument(out, document, &save)) != SUCCESS) {
        result = failed("save", status);
        goto done;
    }
    printf("recoloured %d shape%s, %s, added a dot, wrote %s\n", recoloured, recoloured == 1 ? "" : "s",
           title ? "retitled" : "no title", argv[2]);
    result = 0;

done:
    K_SvgFreeNode(dot);
    K_SvgFreeNode(title);
    K_SvgFreeNode(root);
    K_SvgFreeIterator(&shapes);
    K_SvgFreeNode(document);
    free(color);
    free(out);
    free(in);
    return result;
}
