// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "page.hpp"

#include "page_data.hpp"
#include "page_template.hpp"

namespace flash_board {
namespace {

// JSON that stands in a script element: nothing in it ends the element or begins a comment.
std::string as_island(const nlohmann::ordered_json &data)
{
	const auto text = data.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
	std::string made;

	made.reserve(text.size() + text.size() / 16);
	for (const char c : text) {
		if (c == '<')
			made += "\\u003c";
		else
			made += c;
	}
	return made;
}

} // namespace

std::string as_page(const page_content &of)
{
	return std::string(page_head) + as_island(page_data(of)) + std::string(page_tail);
}

} // namespace flash_board
