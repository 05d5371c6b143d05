// PrintableText: text of anybody's making as text that a page or a picture can hold: UTF-8 without control characters and without
// what turns the direction of writing. Other bytes are spelled \xNN.
//
// Tested by tests/tools/rtrie/map/PrintableTextTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Rtrie {

// mostCharacters: longer text is cut there, with an ellipsis in the place of the last one. A \xNN counts as four.
std::string printableText(std::string_view text, std::size_t mostCharacters = ~std::size_t{0});

}  // namespace Rtrie
