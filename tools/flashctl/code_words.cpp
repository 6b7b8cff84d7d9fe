// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "code_words.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "flash_mng/codes.hpp"

namespace flashctl {

namespace {

constexpr std::uint32_t longest_record = 56;		 // of a lookup, whose answer is the number of bytes that could not be written
constexpr std::uint32_t first_kernel_error = 0xFFFFF001; // -4095
constexpr std::uint32_t largest_small_code = 0xFFFF;	 // those without a module's number in the high half
constexpr char platform_advice[] = "look into the log of the platform and of the kernel";

code_words words_of(const flash_mng::code_text &row)
{
	return {row.code, row.name, "module", row.meaning, row.advice};
}

code_words words_of(const platform_code &row, const platform_table &platform)
{
	return {row.code, row.name, platform.source, row.meaning, row.advice, row.is_range};
}

const platform_code *find_row(std::uint32_t code, asked_for where, const platform_table &platform)
{
	const auto fits = [&](const platform_code &row) {
		return row.code == code && (row.where == asked_for::anything || row.where == where);
	};
	const auto found = std::ranges::find_if(platform.codes, fits);
	return found == platform.codes.end() ? nullptr : &*found;
}

code_words words_of_nameless(std::uint32_t code)
{
	if (code >= first_kernel_error)
		return {code, "", "kernel",
			std::string("an error of the kernel, passed through by the platform: ") + std::strerror(-static_cast<int>(code)),
			platform_advice};
	return {code, "", "platform", "a code of the board's platform, passed through by the module", platform_advice};
}

std::string upper(std::string text)
{
	std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
	return text;
}

} // namespace

bool is_unwritten_count(std::uint32_t code)
{
	return code >= 1 && code <= longest_record;
}

std::string hex_code(std::uint32_t code)
{
	char text[16];
	std::snprintf(text, sizeof(text), "0x%08X", code);
	return text;
}

std::string code_words::label() const
{
	const std::string number = code <= largest_small_code ? std::to_string(code) : hex_code(code);
	if (source == "module")
		return name + ", " + number;
	return (source == "kernel" ? "kernel code " : "platform code ") + number + (name.empty() ? "" : ", " + name);
}

code_words explain_code(std::uint32_t code, asked_for where, const platform_table &platform)
{
	if (const flash_mng::code_text *row = flash_mng::find_code(code))
		return words_of(*row);
	const platform_code *const known = find_row(code, where, platform);
	return known ? words_of(*known, platform) : words_of_nameless(code);
}

code_words explain_code(std::uint32_t code)
{
	const platform_table &platform = reference_platform_table();
	code_words words = explain_code(code, asked_for::write, platform);
	const platform_code *const known = find_row(code, asked_for::write, platform);
	if (known)
		words.meaning = std::string("of the reference platform") + (known->where == asked_for::write ? ", after a write: " : ": ") +
				words.meaning + "; another platform has its own codes";
	return words;
}

std::vector<code_words> all_codes(const platform_table &platform)
{
	std::vector<code_words> all;
	for (const auto &row : flash_mng::code_texts)
		all.push_back(words_of(row));
	for (const auto &row : platform.codes)
		all.push_back(words_of(row, platform));
	return all;
}

std::optional<std::uint32_t> code_of_name(const std::string &name)
{
	const std::string wanted = upper(name);
	for (const code_words &words : all_codes())
		if (words.name == wanted || words.name == "FLASH_MNG_" + wanted)
			return words.code;
	return std::nullopt;
}

} // namespace flashctl
