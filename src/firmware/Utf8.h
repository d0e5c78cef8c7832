#pragma once

#include <string>
#include <string_view>

// UTF-8 text as characters and back. A byte that does not begin a well-formed sequence becomes
// one replacement character (U+FFFD), so every byte string decodes.
namespace Utf8 {

bool IsAscii(std::string_view bytes);
std::u32string Decode(std::string_view bytes);
std::string Encode(std::u32string_view text);

} // namespace Utf8
