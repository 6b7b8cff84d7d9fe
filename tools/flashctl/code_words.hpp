// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Codes in words: those of the module, those of the reference platform, and what can be said of any other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform_codes.hpp"

namespace flashctl {

struct code_words {
	std::uint32_t code;
	std::string name;   // empty when it has none
	std::string source; // "module", "reference platform", "kernel" or "platform"
	std::string meaning;
	std::string advice;
	bool is_range = false; // the request's range is what is wrong

	// "FLASH_MNG_NOT_LISTED, 0x811B01A4"; "FLASH_MNG_NOT_FOUND, 427"; "platform code 34, BOUNDED_NO_ROOM"; "platform code 57"
	std::string label() const;
};

// "0x811B01A4"
std::string hex_code(std::uint32_t code);

// Any code has words. A platform's has those of its table when that can give it in answer to such a request.
code_words explain_code(std::uint32_t code, asked_for where, const platform_table &platform);

// A code of which nobody knows where it came from: the reference platform's words, said to be its own.
code_words explain_code(std::uint32_t code);

// Whether a lookup of an SPI flash answers with this: the number of bytes of the answer that could not be written.
bool is_unwritten_count(std::uint32_t code);

// Every code that has a name, the module's first.
std::vector<code_words> all_codes(const platform_table &platform = reference_platform_table());

// A code by its name, with or without FLASH_MNG_, in upper or lower case.
std::optional<std::uint32_t> code_of_name(const std::string &name);

} // namespace flashctl
