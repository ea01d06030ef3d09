// Wide text of the core layer: the one home of the run-time's wide-string functions.
//
// Text is UTF-16 in char16_t. Letters are folded code unit by code unit, by the C library's tables
// of the current locale (the user's default after core start-up). Any thread may call any of these.
#ifndef ZVSUPPORT_CORE_WIDE_TEXT_H
#define ZVSUPPORT_CORE_WIDE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zv::core {

std::size_t wcslen(const char16_t* text);
int wcscmp(const char16_t* left, const char16_t* right);
// Compares at most count units without regard to case; stops at a zero unit.
int _wcsnicmp(const char16_t* left, const char16_t* right, std::size_t count);
char16_t* wcscpy(char16_t* target, const char16_t* source);
char16_t* wcsncpy(char16_t* target, const char16_t* source, std::size_t count); // pads with zeros
char16_t* wcscat(char16_t* target, const char16_t* source);
int _wtoi(const char16_t* text);
long wcstol(const char16_t* text, char16_t** end, int base);
// radix 2 to 36; target must have room for 33 units and the terminator.
char16_t* _ltow(long value, char16_t* target, int radix);
char16_t* _wcsupr(char16_t* text); // in place
char16_t towlower(char16_t unit);
char16_t towupper(char16_t unit);
std::size_t strlen(const char* text);

// Narrow text in the ANSI code page to wide text and back. count is the target's room in units. The
// answer is the units written without the terminator, which is written where there is room for it;
// size_t(-1) for text that the code page cannot carry. A null target asks for the length alone.
std::size_t mbstowcs(char16_t* target, const char* source, std::size_t count);
std::size_t wcstombs(char* target, const char16_t* source, std::size_t count);

// Whole texts, zeros in them included. Bytes that mean nothing become U+FFFD, characters that the
// page lacks its default character. Throw std::bad_alloc.
std::u16string widen(std::string_view narrow);
std::string narrow(std::u16string_view wide);

// The order of names in the registry file: unit by unit after towlower, the shorter one first.
// Negative, zero or positive.
int compareNames(std::u16string_view left, std::u16string_view right);

} // namespace zv::core

#endif
