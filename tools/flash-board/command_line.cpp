// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "command_line.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <ostream>
#include <stdexcept>

#include "board_file.hpp"
#include "board_reader.hpp"
#include "check.hpp"
#include "check_structure.hpp"
#include "files.hpp"
#include "layout_change.hpp"
#include "map.hpp"
#include "page.hpp"
#include "report.hpp"
#include "simulate.hpp"
#include "suggestion.hpp"

namespace flash_board {
namespace {

constexpr int exit_success = 0;
constexpr int exit_bad_input = 1;
constexpr int exit_usage = 2;
constexpr int exit_file = 3;

constexpr const char *description = "Board descriptions on the host: compile, check, simulate, map, diff, report, explain.";
constexpr const char *exit_statuses =
	"Exit status: 0 success, 1 the board description is wrong or (diff) data is concerned, 2 wrong usage, 3 a file cannot be read or "
	"written.";

struct usage_error : std::runtime_error {
	using std::runtime_error::runtime_error;
};

// What the commands are told on the command line.
struct settings {
	std::vector<std::string> boards;
	std::string output;
	std::string mtd_file;
	std::string mtdparts;
	std::string new_mtd_file; // after an update; the same as before it where nothing is given
	std::string new_mtdparts;
	std::string format = "text";
	std::optional<std::uint32_t> bom;
	std::string rule;
	bool json = false;
	bool strict = false;
	bool force = false;
	bool markdown = false;

	const std::string &board() const { return boards.front(); }
	bool wants_json() const { return json || format == "json"; }
};

// The commands, once the command line is understood.
class program {
public:
	program(const settings &given, const streams &to) : given_(given), to_(to) {}

	// Refuses what check would call an error, unless told to compile all the same; always what keeps the form from being compiled.
	int compile() const
	{
		const auto text = read(given_.board());
		const source from(text, given_.board());
		const auto layout = read_partitions();
		const auto found = flash_board::check(from, layout ? &*layout : nullptr);
		const bool is_refused = first_refusal(found) || (is_wrong(found) && !given_.force);

		if (is_wrong(found))
			to_.err << as_text(from, found);
		if (is_refused) {
			to_.err << "flash-board: " << given_.board() << " is not compiled"
				<< (first_refusal(found) ? "" : "; --force compiles it all the same") << "\n";
			return exit_bad_input;
		}
		const auto file = flash_board::compile(text, given_.board());
		write_file(given_.output, {reinterpret_cast<const char *>(file.data()), file.size()}, to_.out);
		return exit_success;
	}

	int check() const
	{
		const auto layout = read_partitions();
		std::vector<checked_file> files;

		for (const auto &board : given_.boards)
			files.emplace_back(board, read(board), layout ? &*layout : nullptr);
		to_.out << reported(files);
		return std::any_of(files.begin(), files.end(), [&](const auto &file) { return is_wrong(file.found()); }) ? exit_bad_input
															 : exit_success;
	}

	int simulate() const
	{
		const auto text = read(given_.board());
		const source from(text, given_.board());
		const auto layout = read_partitions();

		if (const auto found = structural_findings(from); first_refusal(found))
			return refuse(from, found);
		const auto result = flash_board::simulate(read_board(text, given_.board()), layout.value_or(mtd_layout()));
		to_.out << (given_.wants_json() ? as_json(result) : as_text(result));
		return result.load_code ? exit_bad_input : exit_success;
	}

	int map() const
	{
		const auto text = read(given_.board());
		const source from(text, given_.board());
		document of(from);
		const auto layout = read_partitions();

		if (of.is_whole())
			check_structure(of);
		refuse_findings(from, of.found());
		const auto drawn = map_of(of, layout ? &*layout : nullptr, given_.bom);
		if (given_.output.empty())
			to_.out << as_text(drawn);
		else
			write_file(given_.output, as_svg(drawn), to_.out);
		return exit_success;
	}

	int diff() const
	{
		const auto old_text = read(given_.boards[0]), new_text = read(given_.boards[1]);
		const source before(old_text, given_.boards[0]), after(new_text, given_.boards[1]);
		const auto layout = read_partitions();
		const bool is_layout_new = !given_.new_mtd_file.empty() || !given_.new_mtdparts.empty();
		const auto new_layout = is_layout_new ? read_partitions(given_.new_mtd_file, given_.new_mtdparts) : layout;

		for (const auto *one : {&before, &after})
			if (const auto found = structural_findings(*one); first_refusal(found))
				return refuse(*one, found);
		const document old_board(before), new_board(after);
		const auto made = compare({old_board, layout ? &*layout : nullptr}, {new_board, new_layout ? &*new_layout : nullptr});
		to_.out << (given_.wants_json() ? as_json(before, after, made) : as_text(before, after, made));
		return made.concerns_data() ? exit_bad_input : exit_success;
	}

	// Of a board that is wrong, too: then it says so, and what.
	int report() const
	{
		const auto text = read(given_.board());
		const source from(text, given_.board());
		const auto layout = read_partitions();
		const auto found = flash_board::check(from, layout ? &*layout : nullptr);
		page_content page = {from, found, layout ? &*layout : nullptr,	     layout_name(), {},
				     "",   false, "flash-board " FLASH_BOARD_VERSION};

		page.has_map = !first_refusal(structural_findings(from));
		simulate_for(page);
		write_file(given_.output, as_page(page), to_.out);
		if (is_wrong(found))
			to_.err << as_text(from, found);
		return is_wrong(found) ? exit_bad_input : exit_success;
	}

	int explain() const
	{
		const auto *about = find_rule(given_.rule);

		if (!about && !given_.rule.empty())
			unknown_rule();
		if (given_.markdown)
			to_.out << rules_as_markdown();
		else
			to_.out << (about ? explained(*about) : rule_list());
		return exit_success;
	}

private:
	std::string read(const std::string &path) const { return read_file(path, to_.in); }

	std::string layout_name() const { return given_.mtd_file.empty() ? given_.mtdparts : given_.mtd_file; }

	static void simulate_for(page_content &page)
	{
		const auto *refusal = first_refusal(page.found);

		if (refusal)
			page.no_simulation = "The description does not compile: " + refusal->message + ".";
		else
			page.simulation = flash_board::simulate(read_board(page.from.text(), page.from.file_name()),
								page.layout ? *page.layout : mtd_layout());
	}

	std::optional<mtd_layout> read_partitions() const { return read_partitions(given_.mtd_file, given_.mtdparts); }

	std::optional<mtd_layout> read_partitions(const std::string &file, const std::string &mtdparts) const
	{
		try {
			if (!file.empty())
				return read_layout(read(file));
			if (!mtdparts.empty())
				return read_mtdparts(mtdparts);
		} catch (const layout_error &error) {
			if (file.empty())
				throw usage_error(error.what());
			throw file_error(file, error.what());
		}
		return std::nullopt;
	}

	// Of a board that cannot be compiled.
	int refuse(const source &from, const findings &found) const
	{
		(given_.wants_json() ? to_.out : to_.err) << (given_.wants_json() ? as_json(from, found) : as_text(from, found));
		return exit_bad_input;
	}

	bool is_wrong(const findings &found) const
	{
		return count_of(found, severity::error) || (given_.strict && count_of(found, severity::warning));
	}

	static findings structural_findings(const source &from)
	{
		document of(from);

		if (of.is_whole())
			check_structure(of);
		auto found = of.found();
		sort_by_place(found);
		return found;
	}

	std::string reported(const std::vector<checked_file> &files) const
	{
		if (given_.format == "sarif")
			return as_sarif(files, FLASH_BOARD_VERSION);
		if (given_.wants_json())
			return as_json(files);
		return as_text(files);
	}

	[[noreturn]] void unknown_rule() const
	{
		std::vector<std::string_view> ids;

		for (const auto &one : all_rules())
			ids.push_back(one.id);
		const auto meant = did_you_mean(given_.rule, ids);
		throw usage_error("there is no rule " + given_.rule + (meant.empty() ? "; flash-board explain lists them" : "; " + meant));
	}

	const settings &given_;
	const streams &to_;
};

void add_board(CLI::App &command, settings &given)
{
	command.add_option("board", given.boards, "the board description, XML; - is standard input")
		->required()
		->expected(1)
		->type_name("BOARD.xml");
}

void add_layout(CLI::App &command, settings &given)
{
	auto *file = command.add_option("--mtd", given.mtd_file,
					"the board's partitions: a copy of its /proc/mtd, or flashctl's list of devices as JSON")
			     ->type_name("FILE");

	command.add_option("--mtdparts", given.mtdparts, "the board's partitions: mtdparts of its kernel command line")
		->type_name("STRING")
		->excludes(file);
}

void add_new_layout(CLI::App &command, settings &given)
{
	auto *file =
		command.add_option("--new-mtd", given.new_mtd_file, "the partitions after the update, as --mtd; the same where left out")
			->type_name("FILE");

	command.add_option("--new-mtdparts", given.new_mtdparts, "the partitions after the update, as --mtdparts")
		->type_name("STRING")
		->excludes(file);
}

void add_format(CLI::App &command, settings &given, const std::vector<std::string> &formats, const std::string &list)
{
	auto *format =
		command.add_option("--format", given.format, "how to print: " + list)->check(CLI::IsMember(formats))->type_name("FORMAT");

	command.add_flag("--json", given.json, "the same as --format json")->excludes(format);
}

void add_strict(CLI::App &command, settings &given)
{
	command.add_flag("--strict", given.strict, "take warnings for errors");
}

struct commands {
	explicit commands(settings &given)
	{
		app.require_subcommand(1);
		app.set_version_flag("--version", "flash-board " FLASH_BOARD_VERSION);
		app.footer(exit_statuses);
		add_board(*compile, given);
		compile->add_option("-o,--output", given.output, "where to write the compiled board description; - is standard output")
			->required()
			->type_name("FILE");
		add_layout(*compile, given);
		add_strict(*compile, given);
		compile->add_flag("--force", given.force, "compile in spite of errors that check finds, if the form is right");
		check->add_option("board", given.boards, "the board descriptions, XML; - is standard input")
			->required()
			->type_name("BOARD.xml");
		add_layout(*check, given);
		add_format(*check, given, {"text", "json", "sarif"}, "text (the default), json or sarif");
		add_strict(*check, given);
		add_board(*simulate, given);
		add_layout(*simulate, given);
		add_format(*simulate, given, {"text", "json"}, "text (the default) or json");
		add_board(*map, given);
		add_layout(*map, given);
		map->add_option("--bom", given.bom, "draw this variant instead of the board's own")->type_name("NUMBER");
		map->add_option("-o,--output", given.output, "write an SVG picture there instead of drawing on the terminal")
			->type_name("FILE");
		diff->add_option("boards", given.boards, "the description that is on the board, and the new one, XML; - is standard input")
			->required()
			->expected(2)
			->type_name("OLD.xml NEW.xml");
		add_layout(*diff, given);
		add_new_layout(*diff, given);
		add_format(*diff, given, {"text", "json"}, "text (the default) or json");
		add_board(*report, given);
		report->add_option("-o,--output", given.output, "where to write the page, HTML; - is standard output")
			->required()
			->type_name("FILE");
		add_layout(*report, given);
		add_strict(*report, given);
		explain->add_option("rule", given.rule, "the rule; without it all are listed")->type_name("RULE");
		explain->add_flag("--markdown", given.markdown, "all rules as the page docs/board-rules.md");
	}

	CLI::App app{description, "flash-board"};
	CLI::App *compile = app.add_subcommand("compile", "Compile a board description to the file that the board's parser module loads");
	CLI::App *check = app.add_subcommand("check", "Find everything that is wrong with board descriptions");
	CLI::App *simulate = app.add_subcommand("simulate", "Show what flash_mng makes of a board: its tables and its messages");
	CLI::App *map = app.add_subcommand("map", "Draw the flash of a board");
	CLI::App *diff = app.add_subcommand("diff", "Show what an update of the layout does to the data on the flash");
	CLI::App *report = app.add_subcommand("report", "Write a page that shows a board: map, findings, variants, tables");
	CLI::App *explain = app.add_subcommand("explain", "Explain a rule of check");
};

int run(const commands &all, const program &of)
{
	if (all.compile->parsed())
		return of.compile();
	if (all.check->parsed())
		return of.check();
	if (all.simulate->parsed())
		return of.simulate();
	if (all.map->parsed())
		return of.map();
	if (all.diff->parsed())
		return of.diff();
	if (all.report->parsed())
		return of.report();
	return of.explain();
}

// Standard input can be read once.
void refuse_second_use_of_the_input(const settings &given)
{
	if (std::count(given.boards.begin(), given.boards.end(), "-") + (given.mtd_file == "-") + (given.new_mtd_file == "-") > 1)
		throw usage_error("- is given twice, and there is one standard input");
}

// Every partition would be new.
void refuse_half_a_layout(const settings &given)
{
	const bool is_before = !given.mtd_file.empty() || !given.mtdparts.empty();

	if (!is_before && (!given.new_mtd_file.empty() || !given.new_mtdparts.empty()))
		throw usage_error("the partitions after the update are given, and not those before it: --mtd or --mtdparts");
}

// A variable of a script that is not set must not choose what happens when nothing is given.
void refuse_empty(const CLI::App &selected)
{
	for (const auto *option : selected.get_options())
		if (const auto &words = option->results(); std::find(words.begin(), words.end(), "") != words.end())
			throw usage_error(option->get_name() + " is empty");
}

int finish(int status, const streams &to)
{
	if (!to.out.flush())
		throw file_error("standard output", "cannot be written");
	return status;
}

bool is_flag(const CLI::App &app, const std::string &name)
{
	const auto commands = app.get_subcommands([](const CLI::App *) { return true; });
	const auto *option = app.get_option_no_throw(name);

	return option ? option->get_items_expected_max() == 0
		      : std::any_of(commands.begin(), commands.end(), [&](const auto *one) { return is_flag(*one, name); });
}

// The parser takes --strict=0 for no --strict, and --force= for --force.
void refuse_values(const CLI::App &app, const std::vector<std::string> &arguments)
{
	for (const std::string &word : arguments) {
		const auto end = word.find('=');
		const auto name = word.substr(0, end);

		if (word == "--")
			return;
		if (!word.starts_with("--") || end == word.npos)
			continue;
		if (is_flag(app, name))
			throw usage_error(name + " takes no value; leave it out where it is not wanted");
		if (end + 1 == word.size())
			throw usage_error(name + " is empty");
	}
}

int parse_and_run(const std::vector<std::string> &arguments, const streams &to)
{
	settings given;
	commands all(given);

	refuse_values(all.app, arguments);
	try {
		all.app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
	} catch (const CLI::ParseError &error) {
		return finish(all.app.exit(error, to.out, to.err) ? exit_usage : exit_success, to);
	}
	refuse_empty(*all.app.get_subcommands().front());
	refuse_second_use_of_the_input(given);
	refuse_half_a_layout(given);
	return finish(run(all, program(given, to)), to);
}

int fail(int status, const streams &to, const char *message)
{
	to.err << (status == exit_bad_input ? "" : "flash-board: ") << message << "\n";
	return status;
}

} // namespace

int run(const std::vector<std::string> &arguments, const streams &to)
{
	try {
		return parse_and_run(arguments, to);
	} catch (const input_error &error) {
		return fail(exit_bad_input, to, error.what());
	} catch (const usage_error &error) {
		return fail(exit_usage, to, error.what());
	} catch (const std::exception &error) {
		return fail(exit_file, to, error.what());
	}
}

} // namespace flash_board
