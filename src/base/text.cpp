#include "base/text.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

namespace fmconv {

namespace {
char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
}  // namespace

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

std::string ToLowerAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = LowerAscii(c);
    return out;
}

std::string_view StemOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? name : name.substr(0, dot);
}

std::string_view ExtensionOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view LastChars(std::string_view text, std::size_t n) {
    return text.size() <= n ? text : text.substr(text.size() - n);
}

std::string_view FirstChars(std::string_view text, std::size_t n) {
    return text.substr(0, n);
}

bool EndsWithIgnoreCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           EqualsIgnoreCase(text.substr(text.size() - suffix.size()), suffix);
}

int32_t AtoiLike(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > INT32_MAX) value = static_cast<int64_t>(INT32_MAX) + 1;
    }
    if (negative) value = -value;
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

std::string Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string out(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    if (size > 0) std::vsnprintf(out.data(), out.size() + 1, format, args);
    va_end(args);
    return out;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    std::string out(folder);
    out += static_cast<char>(std::filesystem::path::preferred_separator);
    out += name;
    return out;
}

}  // namespace fmconv
