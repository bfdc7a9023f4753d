// Every subcommand of the tool. Each takes the arguments after its own name
// (argv[0] is the first of them) and returns the process exit code: 0 done,
// 1 a library call failed (its status printed by name), 2 a usage error.
#pragma once

int RunInfo(int argc, char** argv);
int RunConvert(int argc, char** argv);
int RunSelect(int argc, char** argv);
int RunIds(int argc, char** argv);
int RunSelftestDraw(int argc, char** argv);
int RunRender(int argc, char** argv);
int RunRenderBatch(int argc, char** argv);
int RunBounds(int argc, char** argv);
int RunFlatten(int argc, char** argv);
int RunFilterLoad(int argc, char** argv);
