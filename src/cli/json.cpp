#include "cli/json.h"

#include "base/text.h"

namespace fmconv::cli {

namespace {
// Length of the valid UTF-8 sequence starting at s[i], or 0.
std::size_t Utf8Length(std::string_view s, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char b = byte(i);
    std::size_t n = b >= 0xF0 && b <= 0xF4 ? 4 : b >= 0xE0 ? 3 : b >= 0xC2 && b <= 0xDF ? 2 : 0;
    if (n == 0 || i + n > s.size()) return 0;
    for (std::size_t k = 1; k < n; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    }
    return n;
}
}  // namespace

std::string JsonString(std::string_view text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        switch (c) {
            case '"':
                out += "\\\"";
                continue;
            case '\\':
                out += "\\\\";
                continue;
            case '\n':
                out += "\\n";
                continue;
            case '\r':
                out += "\\r";
                continue;
            case '\t':
                out += "\\t";
                continue;
            default:
                break;
        }
        if (c < 0x20) {
            out += Format("\\u%04x", c);
        } else if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (const std::size_t n = Utf8Length(text, i); n > 0) {
            out.append(text.substr(i, n));
            i += n - 1;
        } else {
            out += Format("\\u%04x", c);
        }
    }
    return out + "\"";
}

std::string JsonBool(bool value) {
    return value ? "true" : "false";
}

std::string JsonStringArray(const std::vector<std::string>& items) {
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i) out += ", ";
        out += JsonString(items[i]);
    }
    return out + "]";
}

std::string JsonIntArray(const std::vector<int>& items) {
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i) out += ", ";
        out += std::to_string(items[i]);
    }
    return out + "]";
}

}  // namespace fmconv::cli
