// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Codes in words: those of the module, those of the reference platform, and what can be said of any other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace flashctl {

struct code_words {
	std::uint32_t code;
	std::string name;   // empty when it has none
	std::string source; // "module", "reference platform", "kernel" or "platform"
	std::string meaning;
	std::string advice;

	// "FLASH_MNG_NOT_LISTED, 0x811B01A4"; "FLASH_MNG_NOT_FOUND, 427"
	std::string label() const;
};

// "0x811B01A4"
std::string hex_code(std::uint32_t code);

// Any code has words.
code_words explain_code(std::uint32_t code);

// Whether a lookup of an SPI flash answers with this: the number of bytes of the answer that could not be written.
bool is_unwritten_count(std::uint32_t code);

// Every code that has a name, the module's first.
std::vector<code_words> all_codes();

// A code by its name, with or without FLASH_MNG_, in upper or lower case.
std::optional<std::uint32_t> code_of_name(const std::string &name);

} // namespace flashctl
