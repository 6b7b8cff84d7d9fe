// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "map_picture.hpp"
#include "mtd_words.hpp"
#include "number.hpp"

namespace flashctl {

namespace {

constexpr char bold[] = "\033[1m";
constexpr char green[] = "\033[32m";
constexpr char red[] = "\033[31m";
constexpr char plain[] = "\033[0m";
constexpr std::size_t text_width = 110; // of what is broken into lines

std::string coloured(const char *colour, const std::string &text, style style)
{
	return style.colours ? colour + text + plain : text;
}

enum class side { left, right };

struct column {
	const char *title;
	flashctl::side side;
};

using row = std::vector<std::string>;

std::string padded(const std::string &text, std::size_t width, side side)
{
	const std::string blanks(width - std::min(width, text.size()), ' ');
	return side == side::left ? text + blanks : blanks + text;
}

std::string line_of(const row &cells, const std::vector<column> &columns, const std::vector<std::size_t> &widths)
{
	std::string line;
	for (std::size_t i = 0; i < columns.size(); ++i)
		line += (i ? "  " : "") + padded(cells[i], widths[i], columns[i].side);
	line.erase(line.find_last_not_of(' ') + 1);
	return line;
}

std::string table(const std::vector<column> &columns, const std::vector<row> &rows, style style)
{
	row titles;
	std::vector<std::size_t> widths;
	for (std::size_t i = 0; i < columns.size(); ++i) {
		titles.emplace_back(columns[i].title);
		widths.push_back(titles[i].size());
		for (const row &cells : rows)
			widths[i] = std::max(widths[i], cells[i].size());
	}
	std::string text = coloured(bold, line_of(titles, columns, widths), style) + "\n";
	for (const row &cells : rows)
		text += line_of(cells, columns, widths) + "\n";
	return text;
}

std::string words_of_flags(std::uint32_t flags)
{
	const auto names = mtd_flag_names(flags);
	return names.empty() ? "-" : fmt::format("{}", fmt::join(names, ","));
}

std::string words_of_rights(const mtd_device &device)
{
	return !device.listed ? "-" : device.writable ? "read,write" : "read";
}

std::string words_of_blocks(const partition_info &info)
{
	const std::uint32_t erase_size = info.device.erase_size;
	return erase_size ? fmt::format("{} of {}", info.device.size / erase_size, human_size(erase_size)) : "-";
}

std::string name_of(const range &range)
{
	return printable(range.device.name);
}

std::string place_of(const range &range)
{
	return fmt::format("{} byte{} at {}", range.length, range.length == 1 ? "" : "s", hex_number(range.offset));
}

std::string words_of(const difference &differs)
{
	return fmt::format("{} byte{} differ{}, the first at {}: expected {:#04x}, found {:#04x}", differs.count,
			   differs.count == 1 ? "" : "s", differs.count == 1 ? "s" : "", hex_number(differs.first), differs.expected,
			   differs.found);
}

std::string hashes(const std::string &expected, const std::string &found)
{
	return expected == found ? "  sha256    " + found + "\n"
				 : "  expected  sha256 " + expected + "\n  found     sha256 " + found + "\n";
}

std::string count_of(const std::optional<std::uint64_t> &count)
{
	return count ? std::to_string(*count) : "-";
}

std::string count_of_spares(const health_report &health)
{
	return health.spare_blocks ? std::to_string(*health.spare_blocks) : "-";
}

std::string words_of_warnings(const mtd_device &device, const health_report &health, style style)
{
	std::string text;
	for (const health_warning &warning : health.warnings)
		text += fmt::format("{}: {} {}\n", coloured(red, "warning", style), printable(device.name), warning.words);
	return text;
}

std::string words_of_state(const health_report &health)
{
	return std::string(health.read_only ? "read-only" : "writable") + (health.locks_at_power_on ? ",locks at power-on" : "");
}

std::string tell_health(const list_outcome &found, style style)
{
	std::vector<row> rows;
	std::string warnings;
	for (std::size_t i = 0; i < found.devices.size(); ++i) {
		const mtd_device &device = found.devices[i];
		const health_report &health = found.health[i];
		rows.push_back({fmt::format("mtd{}", device.number), printable(device.name), mtd_type_name(device.type),
				device.erase_size ? std::to_string(device.size / device.erase_size) : "-",
				count_of(health.counts.bad_blocks), count_of_spares(health), count_of(health.counts.corrected_bits),
				count_of(health.counts.ecc_failures), count_of(health.counts.bitflip_threshold), words_of_state(health)});
		warnings += words_of_warnings(device, health, style);
	}
	return table({{"DEVICE", side::left},
		      {"NAME", side::left},
		      {"TYPE", side::left},
		      {"BLOCKS", side::right},
		      {"BAD", side::right},
		      {"SPARE", side::right},
		      {"CORRECTED", side::right},
		      {"FAILED", side::right},
		      {"THRESHOLD", side::right},
		      {"STATE", side::left}},
		     rows, style) +
	       warnings;
}

std::string tell(const list_outcome &found, const options &, style style)
{
	if (!found.health.empty())
		return tell_health(found, style);
	std::vector<row> rows;
	for (const mtd_device &device : found.devices)
		rows.push_back({fmt::format("mtd{}", device.number), printable(device.name), mtd_type_name(device.type),
				human_size(device.size), device.usable ? human_size(*device.usable) : "-", human_size(device.erase_size),
				words_of_flags(device.flags), words_of_rights(device)});
	return table({{"DEVICE", side::left},
		      {"NAME", side::left},
		      {"TYPE", side::left},
		      {"SIZE", side::right},
		      {"USABLE", side::right},
		      {"ERASE BLOCK", side::right},
		      {"FLAGS", side::left},
		      {"PROGRAMS", side::left}},
		     rows, style);
}

std::string tell(const info_outcome &found, const options &, style style)
{
	std::vector<row> rows;
	for (const partition_info &info : found.partitions)
		rows.push_back({fmt::format("mtd{}", info.device.number), printable(info.device.name), mtd_type_name(info.device.type),
				human_size(info.device.size), words_of_blocks(info), std::to_string(info.bad_blocks),
				count_of_spares(info.health), count_of(info.health.counts.corrected_bits),
				count_of(info.health.counts.ecc_failures), count_of(info.health.counts.bitflip_threshold),
				words_of_state(info.health), words_of_rights(info.device)});
	std::string partitions = table({{"DEVICE", side::left},
					{"NAME", side::left},
					{"TYPE", side::left},
					{"SIZE", side::right},
					{"BLOCKS", side::right},
					{"BAD", side::right},
					{"SPARE", side::right},
					{"CORRECTED", side::right},
					{"FAILED", side::right},
					{"THRESHOLD", side::right},
					{"STATE", side::left},
					{"PROGRAMS", side::left}},
				       rows, style);
	for (const partition_info &info : found.partitions)
		partitions += words_of_warnings(info.device, info.health, style);
	if (!found.user_data)
		return partitions + "user data: no NAND partition\n";
	return partitions + fmt::format("user data: {} NAND partition{} of {}\n", found.user_data->partitions,
					found.user_data->partitions == 1 ? "" : "s", human_size(found.user_data->size));
}

std::string tell(const map_outcome &found, const options &, style style)
{
	std::string text = picture_of(found, {style.width, style.utf8});
	for (const mapped_partition &part : found.partitions)
		text += words_of_warnings(part.device, part.health, style);
	return text;
}

std::string tell(const read_outcome &found, const options &options, style)
{
	if (options.quiet || found.output == "-")
		return "";
	return fmt::format("{}: {} read to {}\n  sha256    {}\n", name_of(found.range), place_of(found.range), printable(found.output),
			   found.sha256);
}

std::string tell(const verify_outcome &found, const options &options, style style)
{
	if (options.quiet && found.equal())
		return "";
	std::string text = fmt::format("{}: {} {}\n", name_of(found.range), place_of(found.range),
				       found.equal() ? coloured(green, "verified", style) : coloured(red, "differ", style));
	if (found.differs)
		text += "  " + words_of(*found.differs) + "\n";
	return text + hashes(found.expected_sha256, found.found_sha256);
}

std::string words_of_header(const write_outcome &found, const char *done)
{
	return found.header ? fmt::format("  header    {} bytes, {} last\n", *found.header, done) : "";
}

std::string words_of_resuming(const write_outcome &found)
{
	return found.held_blocks ? fmt::format("  resumed   {} of {} erase block{} held the data already\n", *found.held_blocks,
					       found.blocks, found.blocks == 1 ? "" : "s")
				 : "";
}

std::string plan_of(const write_outcome &found)
{
	std::string text = fmt::format("{}: {} would be written to /dev/mtd{}, in {} erase block{}\n", name_of(found.range),
				       place_of(found.range), found.range.device.number, found.blocks, found.blocks == 1 ? "" : "s");
	if (found.changes)
		text += *found.changes ? fmt::format("  {} of them change{}\n", *found.changes, *found.changes == 1 ? "s" : "")
				       : "  none of them changes; a write would be left out\n";
	text += words_of_header(found, "would be written") + words_of_resuming(found);
	if (!found.range.device.usable)
		text += "  whether the usable bytes reach that far is known to the module only\n";
	return text + "  sha256    " + found.sha256 + "\n";
}

std::string comparison_of(const write_outcome &found, style style)
{
	if (found.verify == verification::none)
		return "not verified";
	if (!found.equal())
		return coloured(red, "mismatch", style);
	return coloured(green, "verified", style) +
	       (found.verify == verification::all ? fmt::format(" with {} bytes around", found.compared - found.range.length) : "");
}

std::string tell(const write_outcome &found, const options &options, style style)
{
	if (found.done == write_outcome::action::planned)
		return plan_of(found);
	if (options.quiet && found.equal())
		return "";
	if (found.done == write_outcome::action::unchanged)
		return fmt::format("{}: {} unchanged: the flash holds this data already\n{}  sha256    {}\n", name_of(found.range),
				   place_of(found.range), words_of_resuming(found), found.sha256);
	std::string text = fmt::format("{}: {} written, {}\n", name_of(found.range), place_of(found.range), comparison_of(found, style));
	if (found.range_differs)
		text += "  written   " + words_of(*found.range_differs) + "\n";
	if (found.around_differs)
		text += "  around    " + words_of(*found.around_differs) + "\n";
	text += words_of_header(found, "written") + words_of_resuming(found);
	if (options.verbose && found.changes)
		text += fmt::format("  changed   {} bytes\n", *found.changes);
	return text + hashes(found.sha256, found.found_sha256.value_or(found.sha256));
}

// As a board's XML has it and as programs do.
std::string both_ways(std::uint32_t number)
{
	return number < 10 ? std::to_string(number) : fmt::format("{:#x} ({})", number, number);
}

std::string tell(const backup_outcome &found, const options &options, style)
{
	if (options.quiet)
		return "";
	std::string text;
	std::uint64_t size = 0;
	for (const backup_image &image : found.contents.images) {
		text += fmt::format("{}: {} bytes to {}\n  sha256    {}\n", printable(image.partition), image.size, image.file,
				    image.sha256);
		if (!image.usable)
			text += "  holds all that can be read: nobody tells how much of it can be written\n";
		size += image.size;
	}
	const std::size_t count = found.contents.images.size();
	return text + fmt::format("{}: {} partition{}, {}, read twice and equal\n", printable(found.folder), count, count == 1 ? "" : "s",
				  human_size(size));
}

std::string words_of(const restored_image &image, style style)
{
	switch (image.done) {
	case restored_image::action::planned:
		return image.changes == 0u ? "would be left alone: the flash holds the image already"
					   : fmt::format("would be written; {} bytes change", image.changes.value_or(0));
	case restored_image::action::unchanged:
		return "unchanged: the flash holds the image already";
	case restored_image::action::written:
		return fmt::format("{} bytes written, {}", image.image.size, coloured(green, "verified", style));
	case restored_image::action::refused:
		return coloured(red, "refused", style) + ": " + printable(image.words);
	case restored_image::action::failed:
		return coloured(red, "failed", style) + ": " + printable(image.words);
	case restored_image::action::left:
		break;
	}
	return "not written";
}

std::string tell(const restore_outcome &found, const options &options, style style)
{
	if (options.quiet && !found.wrong && !found.dry_run)
		return "";
	std::string text = fmt::format("{}: backup of {}\n", printable(found.folder), printable(found.time));
	for (const restored_image &image : found.images)
		text += fmt::format("{}: {}\n", printable(image.image.partition), words_of(image, style));
	return text;
}

std::string tell(const spi_outcome &found, const options &, style)
{
	const spi_controller_config &config = found.config;
	return fmt::format("instance        {}\nsettings of     instance {}\nchip            {}\ncontroller      {}\nchip select     {}\n"
			   "hardware lock   {}\n",
			   both_ways(config.inst_id), both_ways(config.cfg_inst_id), both_ways(config.sfc_chip_id),
			   both_ways(config.sfc_ctrl), both_ways(config.sfc_cs),
			   config.hardlock_type == 1
				   ? "none"
				   : fmt::format("type {}, taken with {}, released with {}", both_ways(config.hardlock_type),
						 both_ways(config.hardlock_val), both_ways(config.hardunlock_val)));
}

std::string tell(const code_words &words, style style)
{
	return coloured(bold, words.label(), style) + "\n  " + words.meaning + "\n  " + words.advice + "\n";
}

// In lines that begin with two blanks, words whole.
std::string in_lines(const std::string &text)
{
	std::string result, line;
	std::istringstream words(text);
	for (std::string word; words >> word; line += " " + word)
		if (line.size() + word.size() > text_width) {
			result += " " + line + "\n";
			line.clear();
		}
	return result + " " + line + "\n";
}

std::string tell(const explained_message &found, style style)
{
	const trouble &section = *found.section;
	std::string values, codes;
	for (const message_value &value : found.values) {
		values += (values.empty() ? "" : ", ") + value.name + " " + printable(value.text);
		if (value.code)
			codes += tell(*value.code, style);
	}
	std::string text = coloured(bold, found.message->text, style) + " (" + found.message->level + ")\n";
	text += values.empty() ? "" : in_lines(values);
	text += in_lines(section.title + ". " + section.meaning);
	return text + in_lines("Look at " + section.look) + in_lines("To do: " + section.advice) + codes;
}

std::string tell(const explain_outcome &found, const options &, style style)
{
	std::string text;
	for (const code_words &words : found.codes)
		text += tell(words, style);
	if (found.messages.size() > 1)
		text += fmt::format("It may be one of {} messages.\n", found.messages.size());
	for (const explained_message &message : found.messages)
		text += (text.empty() ? "" : "\n") + tell(message, style);
	return text;
}

} // namespace

std::string text_report(const outcome &found, const options &options, style style)
{
	return std::visit([&](const auto &facts) { return tell(facts, options, style); }, found);
}

std::string text_of_failure(const std::string &command, const failure &wrong, style style)
{
	std::string text = "flashctl: " + (command.empty() ? "" : command + ": ") + coloured(red, printable(wrong.message), style) + "\n";
	if (wrong.hint.empty())
		return text;
	std::istringstream hint(wrong.hint);
	text += "flashctl: ";
	for (std::string line; std::getline(hint, line);)
		text += printable(line) + "\n";
	return text;
}

} // namespace flashctl
