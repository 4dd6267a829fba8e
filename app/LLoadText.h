#pragma once

#include <string>

// Reads the whole file into `out` under a shared lock, waiting at most a second for a writer
// that holds it exclusively (then it reads anyway). False if the file cannot be opened.
bool LLoadText(const char* path, std::string& out);
