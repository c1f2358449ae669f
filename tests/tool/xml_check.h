#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// A strict reader of the little XML that pictures are made of: one root, elements properly nested,
// attributes quoted and different, no stray '<' or '&', known entities only, characters that XML
// admits. Returns what is wrong, or nothing.
std::string xmlFault(std::string_view text);

// How often elements called `name` stand directly inside the element whose attribute id is `id`;
// with an empty `id`, anywhere.
std::size_t countElements(const std::string& text, const std::string& name, const std::string& id);
