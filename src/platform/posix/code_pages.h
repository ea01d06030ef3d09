// Text conversions between the code pages and UTF-16: what stands behind MultiByteToWideChar and
// WideCharToMultiByte, and the short forms that the stand-in itself uses.
//
// UTF-8 and page 1252 are converted here; every other page by the C library's iconv, under the name
// "CP<number>". CP_ACP is the locale's own code set; GetACP answers the Windows page nearest to it.
// Converters are opened once per page and kept until releaseCodePages().
//
// Any thread may call, except for releaseCodePages(). Texts may contain zeros.
#ifndef ZVSUPPORT_PLATFORM_POSIX_CODE_PAGES_H
#define ZVSUPPORT_PLATFORM_POSIX_CODE_PAGES_H

#include <string>
#include <string_view>

namespace zv::platform::posix {

// The Windows page nearest to a locale's code set, as nl_langinfo names it; 1252 for unknown ones.
// Throws std::bad_alloc.
unsigned pageOfCodeSet(const char* codeSet);

// Text of the ANSI code page as UTF-16; bytes that mean nothing become U+FFFD. Throws
// std::bad_alloc.
std::u16string widen(std::string_view text);

// UTF-16 as text of the ANSI code page; what the page lacks becomes its default character. Throws
// std::bad_alloc.
std::string narrow(std::u16string_view text);

// The same for names that must not become another's: false, with *result undefined, when the page
// lacks a character. Throws std::bad_alloc.
bool narrowExactly(std::u16string_view text, std::string* result);

// Closes every converter. One thread, no call under way.
void releaseCodePages() noexcept;

} // namespace zv::platform::posix

#endif
