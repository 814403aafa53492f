#include "cli/json.h"

#include "base/text.h"

namespace fmconv::cli {

namespace {
// Length of the well-formed UTF-8 sequence starting at s[i], or 0: no
// overlong forms, no surrogates (ED A0..BF), nothing above U+10FFFF.
std::size_t Utf8Length(std::string_view s, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char b = byte(i);
    std::size_t n = 0;
    unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
    if (b >= 0xC2 && b <= 0xDF) {
        n = 2;
    } else if (b >= 0xE0 && b <= 0xEF) {
        n = 3;
        if (b == 0xE0) low = 0xA0;
        if (b == 0xED) high = 0x9F;
    } else if (b >= 0xF0 && b <= 0xF4) {
        n = 4;
        if (b == 0xF0) low = 0x90;
        if (b == 0xF4) high = 0x8F;
    }
    if (n == 0 || i + n > s.size()) return 0;
    if (byte(i + 1) < low || byte(i + 1) > high) return 0;
    for (std::size_t k = 2; k < n; ++k) {
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
        if (c < 0x20 || c == 0x7F) {
            out += Format("\\u%04x", c);
        } else if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (const std::size_t n = Utf8Length(text, i); n > 0) {
            out.append(text.substr(i, n));
            i += n - 1;
        } else {
            // A byte that is not part of well-formed UTF-8 (a name in a
            // single-byte code page, a broken sequence): the lone surrogate
            // that surrogate-escaping decoders use for it, so that the exact
            // bytes can be recovered.
            out += Format("\\udc%02x", c);
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
