// The order of a sorted list box: items compare character by character,
// ASCII letters ignoring case, blanks and punctuation (by their code) before
// digits, digits before letters, bytes above 127 last; a text that is a
// prefix of another comes first; texts equal under this order fall back to
// their raw bytes. The order matters: the k-th selected file gets F + k.
#pragma once

#include <string_view>

namespace fmconv::platform {

// Negative, zero or positive as a sorts before, equal to or after b.
int CompareListText(std::string_view a, std::string_view b);

}  // namespace fmconv::platform
