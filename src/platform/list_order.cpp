#include "platform/list_order.h"

namespace fmconv::platform {

namespace {
int Rank(unsigned char c) {
    if (c >= 'a' && c <= 'z') return 0x300 + (c - 'a');
    if (c >= 'A' && c <= 'Z') return 0x300 + (c - 'A');
    if (c >= '0' && c <= '9') return 0x200 + (c - '0');
    if (c >= 0x80) return 0x400 + c;
    return c;  // blanks, punctuation and control characters by their code
}
}  // namespace

int CompareListText(std::string_view a, std::string_view b) {
    const std::size_t n = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < n; ++i) {
        const int ra = Rank(static_cast<unsigned char>(a[i]));
        const int rb = Rank(static_cast<unsigned char>(b[i]));
        if (ra != rb) return ra < rb ? -1 : 1;
    }
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    const int raw = a.compare(b);
    return raw < 0 ? -1 : (raw > 0 ? 1 : 0);
}

}  // namespace fmconv::platform
