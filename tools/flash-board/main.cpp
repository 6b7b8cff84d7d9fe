// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// flash-board: board descriptions on the desk. Compiles them for the parser on the device, checks and explains them, shows what flash_mng
// makes of them, and draws them.
#include "board_file.hpp"
#include "board_reader.hpp"
#include "check.hpp"
#include "check_structure.hpp"
#include "common/whole_file.hpp"
#include "map.hpp"
#include "report.hpp"
#include "simulate.hpp"
#include "suggestion.hpp"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <system_error>

namespace {

constexpr int exit_success = 0;
constexpr int exit_bad_input = 1;
constexpr int exit_usage = 2;
constexpr int exit_file = 3;

constexpr const char *description = "Board descriptions on the desk: compile, check, simulate, map, explain.";
constexpr const char *exit_statuses =
	"Exit status: 0 success, 1 the board description is wrong, 2 wrong usage, 3 a file cannot be read or written.";

struct file_error : std::runtime_error {
	file_error(const std::string &path, const char *what) : std::runtime_error(path + ": " + what + ": " + std::strerror(errno)) {}
	file_error(const std::string &path, const std::string &reason) : std::runtime_error(path + ": " + reason) {}
};

struct usage_error : std::runtime_error {
	using std::runtime_error::runtime_error;
};

std::string read_file(const std::string &path)
{
	std::ifstream file(path, std::ios::binary);
	std::ostringstream text;

	errno = 0;
	if (file.peek() != std::ifstream::traits_type::eof())
		text << file.rdbuf();
	if (!file.is_open() || file.bad() || !text)
		throw file_error(path, "cannot be read");
	return text.str();
}

// A failure leaves no half-written file.
void write_file(const std::string &path, std::string_view content)
{
	try {
		tools::write_whole_file(path, std::as_bytes(std::span(content)));
	} catch (const std::system_error &error) {
		throw file_error(path, "cannot be written: " + error.code().message());
	}
}

// What the commands are told on the command line.
struct settings {
	std::string board;
	std::string output;
	std::string mtd_file;
	std::string mtdparts;
	std::string format = "text";
	std::optional<std::uint32_t> bom;
	std::string rule;
	bool markdown = false;

	std::optional<flash_board::mtd_layout> layout() const
	{
		try {
			if (!mtd_file.empty())
				return flash_board::read_layout(read_file(mtd_file));
			if (!mtdparts.empty())
				return flash_board::read_mtdparts(mtdparts);
		} catch (const flash_board::layout_error &error) {
			if (mtd_file.empty())
				throw usage_error(error.what());
			throw file_error(mtd_file, std::string(error.what()));
		}
		return std::nullopt;
	}
};

int compile(const settings &given)
{
	const auto file = flash_board::compile(read_file(given.board), given.board);

	write_file(given.output, {reinterpret_cast<const char *>(file.data()), file.size()});
	return exit_success;
}

int check(const settings &given)
{
	const auto text = read_file(given.board);
	const flash_board::source from(text, given.board);
	const auto layout = given.layout();
	const auto found = flash_board::check(from, layout ? &*layout : nullptr);

	if (given.format == "json")
		std::cout << flash_board::as_json(from, found);
	else if (given.format == "sarif")
		std::cout << flash_board::as_sarif(from, found, FLASH_BOARD_VERSION);
	else
		std::cout << flash_board::as_text(from, found);
	return flash_board::count_of(found, flash_board::severity::error) ? exit_bad_input : exit_success;
}

int simulate(const settings &given)
{
	const auto board = flash_board::read_board(read_file(given.board), given.board);
	const auto result = flash_board::simulate(board, given.layout().value_or(flash_board::mtd_layout()));

	std::cout << (given.format == "json" ? as_json(result) : as_text(result));
	return result.load_code ? exit_bad_input : exit_success;
}

int map(const settings &given)
{
	const auto text = read_file(given.board);
	const flash_board::source from(text, given.board);
	flash_board::document of(from);
	const auto layout = given.layout();

	if (of.is_whole())
		check_structure(of);
	refuse_findings(from, of.found());
	const auto drawn = flash_board::map_of(of, layout ? &*layout : nullptr, given.bom);
	if (given.output.empty())
		std::cout << as_text(drawn);
	else
		write_file(given.output, as_svg(drawn));
	return exit_success;
}

[[noreturn]] void unknown_rule(const std::string &id)
{
	std::vector<std::string_view> ids;

	for (const auto &one : flash_board::all_rules())
		ids.push_back(one.id);
	const auto meant = flash_board::did_you_mean(id, ids);
	throw usage_error("there is no rule " + id + (meant.empty() ? "; flash-board explain lists them" : "; " + meant));
}

int explain(const settings &given)
{
	const auto *about = flash_board::find_rule(given.rule);

	if (!about && !given.rule.empty())
		unknown_rule(given.rule);
	if (given.markdown)
		std::cout << flash_board::rules_as_markdown();
	else
		std::cout << (about ? flash_board::explained(*about) : flash_board::rule_list());
	return exit_success;
}

void add_board(CLI::App &command, settings &given)
{
	command.add_option("board", given.board, "the board description, XML")->required()->type_name("BOARD.xml");
}

void add_layout(CLI::App &command, settings &given)
{
	auto *file = command.add_option("--mtd", given.mtd_file, "the board's partitions: a copy of its /proc/mtd")->type_name("FILE");

	command.add_option("--mtdparts", given.mtdparts, "the board's partitions: mtdparts of its kernel command line")
		->type_name("STRING")
		->excludes(file);
}

void add_format(CLI::App &command, settings &given, const std::vector<std::string> &formats, const std::string &list)
{
	command.add_option("--format", given.format, "how to print: " + list)->check(CLI::IsMember(formats))->type_name("FORMAT");
}

struct commands {
	explicit commands(settings &given)
	{
		app.require_subcommand(1);
		app.set_version_flag("--version", "flash-board " FLASH_BOARD_VERSION);
		app.footer(exit_statuses);
		add_board(*compile, given);
		compile->add_option("-o,--output", given.output, "where to write the compiled board description")
			->required()
			->type_name("FILE");
		add_board(*check, given);
		add_layout(*check, given);
		add_format(*check, given, {"text", "json", "sarif"}, "text (the default), json or sarif");
		add_board(*simulate, given);
		add_layout(*simulate, given);
		add_format(*simulate, given, {"text", "json"}, "text (the default) or json");
		add_board(*map, given);
		add_layout(*map, given);
		map->add_option("--bom", given.bom, "draw this variant instead of the board's own")->type_name("NUMBER");
		map->add_option("-o,--output", given.output, "write an SVG picture there instead of drawing on the terminal")
			->type_name("FILE");
		explain->add_option("rule", given.rule, "the rule; without it all are listed")->type_name("RULE");
		explain->add_flag("--markdown", given.markdown, "all rules as the page docs/board-rules.md");
	}

	CLI::App app{description, "flash-board"};
	CLI::App *compile = app.add_subcommand("compile", "Compile a board description to the file that the board's parser module loads");
	CLI::App *check = app.add_subcommand("check", "Find everything that is wrong with a board description");
	CLI::App *simulate = app.add_subcommand("simulate", "Show what flash_mng makes of a board: its tables and its messages");
	CLI::App *map = app.add_subcommand("map", "Draw the flash of a board");
	CLI::App *explain = app.add_subcommand("explain", "Explain a rule of check");
};

int run(const commands &all, const settings &given)
{
	if (all.compile->parsed())
		return compile(given);
	if (all.check->parsed())
		return check(given);
	if (all.simulate->parsed())
		return simulate(given);
	if (all.map->parsed())
		return map(given);
	return explain(given);
}

int parse_and_run(int argc, char **argv)
{
	settings given;
	commands all(given);

	try {
		all.app.parse(argc, argv);
	} catch (const CLI::ParseError &error) {
		return all.app.exit(error) ? exit_usage : exit_success;
	}
	const int status = run(all, given);
	if (!std::cout.flush())
		throw file_error("standard output", std::string("cannot be written"));
	return status;
}

int fail(int status, const char *message)
{
	std::fprintf(stderr, "%s%s\n", status == exit_bad_input ? "" : "flash-board: ", message);
	return status;
}

} // namespace

int main(int argc, char **argv)
{
	try {
		return parse_and_run(argc, argv);
	} catch (const flash_board::input_error &error) {
		return fail(exit_bad_input, error.what());
	} catch (const usage_error &error) {
		return fail(exit_usage, error.what());
	} catch (const std::exception &error) {
		return fail(exit_file, error.what());
	}
}
