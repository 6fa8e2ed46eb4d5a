#pragma once

#include <cstdio>

// Writes wide text (UTF-16 or UTF-32, as wide as the system's wchar_t) to a file in UTF-8. What is no
// character becomes U+FFFD.
void RkPutUtf8(const wchar_t* text, std::FILE* file);
