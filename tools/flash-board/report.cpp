// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "report.hpp"

#include <nlohmann/json.hpp>

#include <array>

#include "common/printable.hpp"

namespace flash_board {
namespace {

using json = nlohmann::ordered_json;

std::string counted(std::size_t number, const std::string &what)
{
	return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string total(const findings &all)
{
	if (all.empty())
		return "nothing found";
	return counted(count_of(all, severity::error), "error") + ", " + counted(count_of(all, severity::warning), "warning") + ", " +
	       counted(count_of(all, severity::note), "note");
}

// A message may quote bytes that are not UTF-8.
std::string written(const json &value)
{
	return value.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

json sarif_rule(const rule &about)
{
	return {{"id", about.id},
		{"shortDescription", {{"text", about.title}}},
		{"fullDescription", {{"text", about.explanation}}},
		{"help", {{"text", about.hint}}},
		{"defaultConfiguration", {{"level", name_of(about.level)}}}};
}

json sarif_location(const source &from, const finding &one)
{
	const auto place = from.at(one.offset);
	json location = {{"physicalLocation",
			  {{"artifactLocation", {{"uri", from.file_name()}}},
			   {"region", {{"startLine", place.line}, {"startColumn", place.character}}}}}};

	if (!one.where.empty())
		location["logicalLocations"] = json::array({{{"fullyQualifiedName", one.where}, {"kind", "element"}}});
	return location;
}

json sarif_result(const source &from, const finding &one)
{
	return {{"ruleId", one.broken->id},
		{"ruleIndex", one.broken - all_rules().data()},
		{"level", name_of(one.broken->level)},
		{"message", {{"text", one.message + "; " + one.hint}}},
		{"locations", json::array({sarif_location(from, one)})}};
}

json described(const source &from, const findings &all)
{
	json list = json::array();

	for (const auto &one : all) {
		const auto place = from.at(one.offset);
		list.push_back({{"rule", one.broken->id},
				{"severity", name_of(one.broken->level)},
				{"line", place.line},
				{"column", place.column},
				{"element", one.where},
				{"message", one.message},
				{"hint", one.hint}});
	}
	return {{"file", from.file_name()},
		{"errors", count_of(all, severity::error)},
		{"warnings", count_of(all, severity::warning)},
		{"notes", count_of(all, severity::note)},
		{"findings", list}};
}

std::string sarif_with(const json &results, std::string_view version)
{
	json rules = json::array();

	for (const auto &one : all_rules())
		rules.push_back(sarif_rule(one));
	const json driver = {{"name", "flash-board"}, {"version", version}, {"rules", rules}};
	const json run = {{"tool", {{"driver", driver}}}, {"columnKind", "unicodeCodePoints"}, {"results", results}};
	return written({{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"}, {"version", "2.1.0"}, {"runs", json::array({run})}});
}

void add_sarif_results(json &results, const source &from, const findings &all)
{
	for (const auto &one : all)
		results.push_back(sarif_result(from, one));
}

} // namespace

std::string as_text(const source &from, const findings &all)
{
	std::string text;

	for (const auto &one : all) {
		const auto place = from.at(one.offset);
		text += from.file_name() + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": " +
			std::string(name_of(one.broken->level)) + ": " + one.message + " [" + std::string(one.broken->id) + "]\n\t" +
			one.hint + "\n";
	}
	return tools::printable_lines(text + from.file_name() + ": " + total(all) + "\n");
}

std::string as_json(const source &from, const findings &all)
{
	return written(described(from, all));
}

std::string as_sarif(const source &from, const findings &all, std::string_view version)
{
	json results = json::array();

	add_sarif_results(results, from, all);
	return sarif_with(results, version);
}

std::string as_text(const std::vector<checked_file> &files)
{
	std::string text;

	for (const auto &one : files)
		text += as_text(one.from(), one.found());
	return text;
}

std::string as_json(const std::vector<checked_file> &files)
{
	json all = json::array();

	for (const auto &one : files)
		all.push_back(described(one.from(), one.found()));
	return written(all.size() == 1 ? all.front() : all);
}

std::string as_sarif(const std::vector<checked_file> &files, std::string_view version)
{
	json results = json::array();

	for (const auto &one : files)
		add_sarif_results(results, one.from(), one.found());
	return sarif_with(results, version);
}

} // namespace flash_board
