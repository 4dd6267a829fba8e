#pragma once

#include <pthread.h>

// Process-wide state prepared before and by main.

extern int gargc;
extern char** gargv;             // private copy of the command line, ended by a null entry
extern pthread_t idThreadMain;   // set by main after the argument copy
extern pthread_t gdwMainThreadId;  // set by the first static initialiser

extern bool gbOptCPUSupportRun;
extern bool gbOptCPUSupportMMX;
extern bool gbOptCPUSupportSSE;
extern bool gbOptCPUSupportSSE2;
extern bool gbOptCPUSupportSSE3;

// Copies argv into gargv, dropping argument 1 when it begins with "-psn"; sets gargc.
// Frees an earlier copy.
void CopyArguments(int argc, char** argv);
void FreeArguments();

// Sets the processor feature flags from CPUID leaf 1 (all false off x86).
void ProbeCPUFeatures();

// Raises the soft limit of open files to 1024; the hard limit stays.
void LSetMaximumNumberOfOpenFiles();

// Sets the process locale from the environment and returns what the locale query answers.
const char* LGetLocale();
void LInitLocale();
