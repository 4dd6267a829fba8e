#pragma once

#include <string>

// Builds a German locale (decimal comma) into `folder` and points the C library at it
// (LOCPATH), for machines that have no such locale installed. The name to pass to setlocale,
// or "" when localedef could not build it.
std::string BuildCommaLocale(const std::string& folder);
