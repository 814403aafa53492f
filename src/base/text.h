// Small text rules shared by every layer: the single-byte name handling of
// the converter (case-insensitive comparison, stems and extensions, the
// atoi-style number reading) and path joining.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fmconv {

// ASCII letters compared ignoring case; every other byte compared as it is.
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
std::string ToLowerAscii(std::string_view text);

// The text up to (not including) its last "."; the whole text when it has none.
std::string_view StemOf(std::string_view name);
// The text after its last "."; empty when it has none.
std::string_view ExtensionOf(std::string_view name);
// The last n characters (all of them when the text is shorter).
std::string_view LastChars(std::string_view text, std::size_t n);
// The first n characters (all of them when the text is shorter).
std::string_view FirstChars(std::string_view text, std::size_t n);
// True when the text ends in suffix, ASCII letters compared ignoring case.
bool EndsWithIgnoreCase(std::string_view text, std::string_view suffix);

// Reads a number the way atoi does: optional blanks, an optional sign, then
// the leading decimal digits; 0 when there are none. Saturates instead of
// overflowing.
int32_t AtoiLike(std::string_view text);

// printf-style formatting into a std::string.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

// folder + separator + name, with the platform's own separator.
std::string JoinPath(std::string_view folder, std::string_view name);

}  // namespace fmconv
