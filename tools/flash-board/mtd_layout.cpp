// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "mtd_layout.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "source.hpp"
#include "suggestion.hpp"

namespace flash_board {
namespace {

std::string_view taken_until(std::string_view &text, char end)
{
	const auto at = text.find(end);
	const auto taken = text.substr(0, at);

	text.remove_prefix(at == text.npos ? text.size() : at + 1);
	return taken;
}

// ---- /proc/mtd: mtd0: 00100000 00020000 "boot"

std::optional<std::uint64_t> taken_hexadecimal(std::string_view &text)
{
	std::uint64_t value = 0;
	const auto result = std::from_chars(text.data(), text.data() + text.size(), value, 16);

	if (result.ec != std::errc())
		return std::nullopt;
	text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
	text = text.substr(std::min(text.find_first_not_of(' '), text.size()));
	return value;
}

std::optional<partition> read_proc_line(std::string_view line)
{
	if (!line.starts_with("mtd") || line.find(": ") == line.npos)
		return std::nullopt;
	line.remove_prefix(line.find(": ") + 2);
	const auto size = taken_hexadecimal(line);
	const auto erase_size = size ? taken_hexadecimal(line) : std::nullopt;
	if (!erase_size || line.size() < 2 || line.front() != '"' || line.back() != '"')
		return std::nullopt;
	return partition{std::string(line.substr(1, line.size() - 2)), size, *erase_size ? erase_size : std::nullopt};
}

// ---- mtdparts=<device>:<size>[@<offset>][(<name>)][ro][lk],...;<device>:...

[[noreturn]] void fail_part(std::string_view part)
{
	throw layout_error("mtdparts: " + quoted(part) + " is no partition: <size>[@<offset>][(<name>)][ro][lk]");
}

std::optional<std::uint64_t> taken_size(std::string_view &text)
{
	constexpr std::string_view units = "kmg";
	const bool is_hexadecimal = text.starts_with("0x");
	std::uint64_t value = 0;

	if (is_hexadecimal)
		text.remove_prefix(2);
	const auto result = std::from_chars(text.data(), text.data() + text.size(), value, is_hexadecimal ? 16 : 10);
	if (result.ec != std::errc())
		return std::nullopt;
	text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
	const auto unit = text.empty() ? units.npos : units.find(static_cast<char>(text.front() | 0x20));
	if (unit == units.npos)
		return value;
	text.remove_prefix(1);
	const auto shift = 10 * (unit + 1);
	return value >> (64 - shift) ? std::nullopt : std::optional(value << shift);
}

class parts_reader {
public:
	mtd_layout read(std::string_view text)
	{
		while (!text.empty())
			read_device(taken_until(text, ';'));
		return std::move(layout_);
	}

private:
	void read_device(std::string_view text)
	{
		const auto colon = text.substr(0, text.find('(')).rfind(':');

		if (colon == text.npos)
			throw layout_error("mtdparts: " + quoted(text) + " names no device: <device>:<partition>,...");
		device_ = text.substr(0, colon);
		next_ = 0;
		number_ = 0;
		text.remove_prefix(colon + 1);
		do
			read_part(taken_part(text));
		while (!text.empty());
	}

	// Up to the next comma that is not part of a name.
	static std::string_view taken_part(std::string_view &text)
	{
		const auto opening = text.find('(');
		const auto comma = text.find(',');
		const auto closing = opening < comma ? text.find(')', opening) : std::string_view::npos;
		const auto end = opening < comma && closing != text.npos ? text.find(',', closing) : comma;
		const auto part = text.substr(0, end);

		text.remove_prefix(end == text.npos ? text.size() : end + 1);
		return part;
	}

	void read_part(std::string_view part)
	{
		auto rest = part;
		partition made = {numbered_name(), std::nullopt, std::nullopt, device_, next_};

		if (rest.starts_with('-'))
			rest.remove_prefix(1);
		else if (made.size = taken_size(rest); !made.size || *made.size == 0)
			fail_part(part);
		if (rest.starts_with('@')) {
			rest.remove_prefix(1);
			if (made.offset = taken_size(rest); !made.offset)
				fail_part(part);
		}
		if (rest.starts_with('(')) {
			rest.remove_prefix(1);
			if (rest.find(')') == rest.npos)
				fail_part(part);
			made.name = taken_until(rest, ')');
		}
		while (rest.starts_with("ro") || rest.starts_with("lk"))
			rest.remove_prefix(2);
		if (!rest.empty())
			fail_part(part);
		next_ = made.offset && made.size ? std::optional(*made.offset + *made.size) : std::nullopt;
		number_++;
		layout_.push_back(std::move(made));
	}

	// What Linux calls a partition that is given no name.
	std::string numbered_name() const
	{
		char name[16];

		std::snprintf(name, sizeof(name), "Partition_%03u", number_ % 1000);
		return name;
	}

	mtd_layout layout_;
	std::string device_;
	std::optional<std::uint64_t> next_;
	unsigned number_ = 0;
};

} // namespace

mtd_layout read_proc_mtd(std::string_view text)
{
	mtd_layout layout;

	for (unsigned number = 1; !text.empty(); number++) {
		const auto line = trimmed(taken_until(text, '\n'));
		if (line.empty() || line.starts_with("dev:"))
			continue;
		auto part = read_proc_line(line);
		if (!part)
			throw layout_error("line " + std::to_string(number) + " is none of /proc/mtd: mtd0: 00100000 00020000 \"boot\"");
		layout.push_back(std::move(*part));
	}
	if (layout.empty())
		throw layout_error("no partition is listed, as in: mtd0: 00100000 00020000 \"boot\"");
	return layout;
}

mtd_layout read_flashctl_list(std::string_view text)
{
	mtd_layout layout;

	try {
		const auto printed = nlohmann::json::parse(text);
		for (const auto &device : printed.at("result").at("devices")) {
			const auto erase_size = device.at("erase_size").get<std::uint32_t>();
			layout.push_back({device.at("name"), device.at("size").get<std::uint64_t>(),
					  erase_size ? std::optional<std::uint64_t>(erase_size) : std::nullopt, "", std::nullopt,
					  device.at("type_number").get<std::uint32_t>()});
		}
	} catch (const nlohmann::json::exception &) {
		throw layout_error("this is not what flashctl --json list prints");
	}
	if (layout.empty())
		throw layout_error("flashctl lists no MTD device");
	return layout;
}

mtd_layout read_layout(std::string_view text)
{
	return trimmed(text).starts_with('{') ? read_flashctl_list(text) : read_proc_mtd(text);
}

mtd_layout read_mtdparts(std::string_view text)
{
	if (text.starts_with("mtdparts="))
		text.remove_prefix(9);
	if (text.empty())
		throw layout_error("mtdparts: nothing is given: <device>:<size>(<name>),...");
	return parts_reader().read(text);
}

const partition *partition_named(const mtd_layout &layout, std::string_view name)
{
	const auto found = std::find_if(layout.begin(), layout.end(), [&](const partition &one) { return one.name == name; });

	return found == layout.end() ? nullptr : &*found;
}

std::string partition_meant(const mtd_layout &layout, std::string_view name)
{
	std::vector<std::string_view> names;

	for (const auto &one : layout)
		names.push_back(one.name);
	return did_you_mean(name, names);
}

} // namespace flash_board
