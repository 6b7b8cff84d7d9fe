// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What an update does to data, as people and programs read it.
#include <nlohmann/json.hpp>

#include <algorithm>

#include "common/printable.hpp"
#include "layout_change.hpp"

namespace flash_board {
namespace {

using json = nlohmann::ordered_json;

std::size_t count_of(const layout_comparison &of, severity level)
{
	return static_cast<std::size_t>(
		std::count_if(of.changes.begin(), of.changes.end(), [&](const layout_change &one) { return one.level == level; }));
}

std::string counted(std::size_t number, const std::string &what)
{
	return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

// The line of the new description, else of the old one, else the new file.
std::string place_of(const source &before, const source &after, const layout_change &one)
{
	if (one.new_line || !one.old_line)
		return after.file_name() + (one.new_line ? ":" + std::to_string(one.new_line) : "");
	return before.file_name() + ":" + std::to_string(one.old_line);
}

std::string variants_in_words(const layout_change &one)
{
	std::string words;

	for (const auto variant : one.variants)
		words += (words.empty() ? one.variants.size() > 1 ? " (variants " : " (variant " : ", ") + std::to_string(variant);
	return words.empty() ? "" : words + ")";
}

json line_or_null(std::size_t line)
{
	return line ? json(line) : json();
}

json described(const layout_change &one)
{
	return {{"change", name_of(one.kind)},
		{"severity", name_of(one.level)},
		{"object", one.object},
		{"variants", one.variants},
		{"old_line", line_or_null(one.old_line)},
		{"new_line", line_or_null(one.new_line)},
		{"message", one.message},
		{"hint", one.hint}};
}

} // namespace

std::string as_text(const source &before, const source &after, const layout_comparison &of)
{
	std::string text;

	for (const auto &one : of.changes)
		text += place_of(before, after, one) + ": " + std::string(name_of(one.level)) + ": " + one.message +
			variants_in_words(one) + " [" + std::string(name_of(one.kind)) + "]\n" +
			(one.hint.empty() ? "" : "\t" + one.hint + "\n");
	if (of.variants_left_out)
		text += counted(of.variants_left_out, "variant") + " not compared: more than " + std::to_string(most_compared_variants) +
			"\n";
	text += before.file_name() + " to " + after.file_name() + ": ";
	text += of.changes.empty()
			? "nothing changes"
			: counted(count_of(of, severity::error), "error") + ", " + counted(count_of(of, severity::warning), "warning") +
				  ", " + counted(count_of(of, severity::note), "note");
	return tools::printable_lines(text + "; " + std::to_string(of.unchanged) + " unchanged\n");
}

std::string as_json(const source &before, const source &after, const layout_comparison &of)
{
	json changes = json::array();

	for (const auto &one : of.changes)
		changes.push_back(described(one));
	const json all = {{"old_file", before.file_name()},
			  {"new_file", after.file_name()},
			  {"concerns_data", of.concerns_data()},
			  {"errors", count_of(of, severity::error)},
			  {"warnings", count_of(of, severity::warning)},
			  {"notes", count_of(of, severity::note)},
			  {"unchanged", of.unchanged},
			  {"variants_left_out", of.variants_left_out},
			  {"changes", changes}};
	return all.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

} // namespace flash_board
