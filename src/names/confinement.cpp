#include "names/confinement.h"

namespace fmconv {

bool IsConfinedName(std::string_view name) {
    if (name.empty() || name.front() == '.') return false;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '/' || c == '\\' || byte < 0x20 || byte == 0x7F) return false;
    }
    return true;
}

}  // namespace fmconv
