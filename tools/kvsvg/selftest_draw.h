// `kvsvg selftest-draw OUT.png`: draws a fixed scene through the bitmap
// engine of the public interface and saves it as PNG, for a person to look
// at: shapes, dashes, caps and joins, gradients, hatches, clips, text in
// both directions and upright, glyph outlines, path algebra and images.
#pragma once

// argv[0] is the subcommand's first argument, the output file. Returns the
// process exit code and prints any failure with its status.
int RunSelftestDraw(int argc, char** argv);
