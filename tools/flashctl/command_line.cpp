// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "command_line.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "code_words.hpp"
#include "failure.hpp"
#include "name_match.hpp"
#include "number.hpp"
#include "troubleshooting.hpp"

namespace flashctl {

namespace {

constexpr std::uint64_t most_bytes = UINT32_MAX;
constexpr char size_hint[] = "sizes are decimal or 0x numbers below 4 GiB, with KiB, MiB or GiB behind them or not: 4096, 0x1000, 4KiB";
constexpr char footer[] = R"(PARTITION is a name of "flashctl list". SIZE is decimal or 0x, with KiB, MiB or GiB behind it or not.

Exit status: 0 done, 1 file, 2 usage, 3 not found, 4 denied, 5 module not loaded, 6 flash failure, 7 verify mismatch,
8 busy, 9 unsupported, 10 declined, 11 no memory, 12 interrupted.)";

failure usage_failure(const std::string &message, const std::string &hint = "")
{
	return {exit_status::usage, message, hint};
}

// What the options store before it is looked at as a whole.
struct words {
	std::string partition, file, offset, length, output = "-", sha256, verify = "all", instance, name;
	std::string folder, last;
	std::vector<std::string> forced, partitions, explained;
	bool hex = false, dry_run = false, yes = false, resume = false, health = false, scan = false;
};

class parser {
public:
	parser();
	command_line parse(const std::vector<std::string> &arguments);

private:
	CLI::App *command(const std::string &name, const std::string &text, any_request (parser::*make)() const);
	void add_commands();
	void add_partition(CLI::App *command, bool required = true);
	void add_range(CLI::App *command);
	void add_backup(CLI::App *command);
	void add_plan(CLI::App *command);

	any_request make_list() const { return list_request{words_.health}; }
	any_request make_info() const { return info_request{words_.partition}; }
	any_request make_map() const { return map_request{words_.partition, words_.scan}; }
	any_request make_read() const;
	any_request make_verify() const;
	any_request make_write() const;
	any_request make_backup() const;
	any_request make_restore() const;
	any_request make_spi() const;
	any_request make_explain() const;

	void refuse_empty(const CLI::App *app) const;
	range_request range() const;
	std::string input() const;
	[[noreturn]] void refuse(const CLI::ParseError &error) const;
	[[noreturn]] void refuse_extra(const CLI::App *selected, const std::string &extra) const;
	std::string where_help_is() const;

	CLI::App app_{"Looks after the flash of a board with flash_mng.", "flashctl"};
	std::map<const CLI::App *, any_request (parser::*)() const> makers_;
	options options_;
	words words_;
};

parser::parser()
{
	app_.option_defaults()->disable_flag_override(); // --dry-run=0 is no way to write
	app_.get_formatter()->column_width(30);
	app_.get_formatter()->label("REQUIRED", "");
	app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
	app_.get_formatter()->label("Positionals", "Arguments");
	app_.set_help_flag("-h,--help", "print this help and exit");
	app_.set_version_flag("--version", "flashctl " FLASHCTL_VERSION, "print the version and exit");
	app_.add_flag("--json", options_.json, "print the result as one JSON object");
	app_.add_flag("--progress", options_.progress, "progress without a terminal too; with --json as lines of JSON before the result");
	app_.add_flag("-q,--quiet", options_.quiet, "no progress, no result lines of commands that read or write");
	app_.add_flag("-v,--verbose", options_.verbose, "a line for each step, and more about the result");
	app_.add_option("--device", options_.device, "the control device; " FLASH_MNG_DEVICE " if not given")->type_name("PATH");
	app_.footer(footer);
	app_.require_subcommand(1);
	app_.fallthrough();
	add_commands();
}

CLI::App *parser::command(const std::string &name, const std::string &text, any_request (parser::*make)() const)
{
	CLI::App *const added = app_.add_subcommand(name, text);
	added->group("Commands");
	added->footer("Options of every command: --json, --progress, --quiet, --verbose, --device PATH; see \"flashctl --help\".");
	makers_[added] = make;
	return added;
}

void parser::add_partition(CLI::App *command, bool required)
{
	command->add_option("PARTITION", words_.partition, "name of a partition, as \"flashctl list\" shows it")
		->type_name("")
		->required(required);
}

void parser::add_range(CLI::App *command)
{
	command->add_option("--offset", words_.offset, "first byte, counted from the start of the partition; 0 if not given")
		->type_name("SIZE");
	command->add_option("--length", words_.length, "number of bytes")->type_name("SIZE");
}

void parser::add_backup(CLI::App *command)
{
	command->add_option("FOLDER", words_.folder, "the backup")->type_name("")->required();
	command->add_option("--partition", words_.partitions, "this one only; can be given several times")
		->type_name("NAME")
		->expected(1)
		->take_all();
}

void parser::add_plan(CLI::App *command)
{
	command->add_flag("--dry-run", words_.dry_run, "tell what would be done, and write nothing");
	command->add_flag("-y,--yes", words_.yes, "do not ask");
	command->add_option("--force", words_.forced, "write although the partition is in use: mounted, ubi, swap, claimed or unknown")
		->type_name("DANGER")
		->expected(1)
		->take_all();
}

void parser::add_commands()
{
	command("list", "list the MTD devices of the board", &parser::make_list)
		->add_flag("--health", words_.health, "their bad blocks, corrected bits and failures instead, and warnings");

	CLI::App *const info = command("info", "describe the NAND partitions and the one for user data", &parser::make_info);
	add_partition(info, false);

	CLI::App *const map = command("map", "draw the erase blocks of the partitions", &parser::make_map);
	add_partition(map, false);
	map->add_flag("--scan", words_.scan, "read every block, to find worn ones");

	CLI::App *const read = command("read", "read bytes of a partition to a file or to standard output", &parser::make_read);
	add_partition(read);
	add_range(read);
	read->add_option("-o,--output", words_.output, "where to write them; \"-\", if not given, is standard output")->type_name("FILE");
	read->add_flag("--hex", words_.hex, "write a dump to look at");

	CLI::App *const write = command("write", "write a file to a partition, and verify it", &parser::make_write);
	add_partition(write);
	write->add_option("FILE", words_.file, "the data; \"-\" is standard input")->type_name("")->required();
	add_range(write);
	write->add_option("--verify", words_.verify, "what to compare afterwards: all of the partition, the range written, or none")
		->type_name("all|range|none");
	write->add_option("--sha256", words_.sha256, "the hash that the data must have; otherwise nothing is written")->type_name("HASH");
	write->add_option("--last", words_.last, "write so many first bytes, a header, when all the rest is on the flash and verified")
		->type_name("SIZE");
	write->add_flag("--resume", words_.resume, "leave out erase blocks that hold the data already, and tell how many");
	add_plan(write);

	CLI::App *const verify = command("verify", "compare bytes of a partition with a file or a hash", &parser::make_verify);
	add_partition(verify);
	verify->add_option("FILE", words_.file, "the expected data; \"-\" is standard input")->type_name("");
	add_range(verify);
	verify->add_option("--sha256", words_.sha256, "the expected hash, instead of FILE")->type_name("HASH");

	add_backup(command("backup", "copy all partitions that programs can read to a new folder", &parser::make_backup));

	CLI::App *const restore = command("restore", "write a backup back, and verify it", &parser::make_restore);
	add_backup(restore);
	add_plan(restore);

	CLI::App *const spi = command("spi", "tell where an SPI flash sits", &parser::make_spi);
	spi->add_option("--instance", words_.instance, "by its instance")->type_name("NUMBER");
	spi->add_option("--name", words_.name, "by the name of a partition on it")->type_name("NAME");

	CLI::App *const explain = command("explain", "explain a code of the module or a line of the kernel log; without one, all codes",
					  &parser::make_explain);
	explain->add_option("WHAT", words_.explained,
			    "a number such as 0x811B04AA or -1, a name such as NO_BUFFER, or a line of the kernel log")
		->type_name("");
}

std::uint32_t size_of(const std::string &option, const std::string &text)
{
	const auto size = parse_size(text, most_bytes);
	if (!size)
		throw usage_failure(option + " " + text + " is no size that a partition can have", size_hint);
	return static_cast<std::uint32_t>(*size);
}

range_request parser::range() const
{
	range_request range = {words_.partition, 0, std::nullopt};
	if (!words_.offset.empty())
		range.offset = size_of("--offset", words_.offset);
	if (!words_.length.empty())
		range.length = size_of("--length", words_.length);
	if (range.length == 0u)
		throw usage_failure("--length 0 is no range", "leave out --length, or give at least 1 byte");
	if (range.length && std::uint64_t{range.offset} + *range.length > most_bytes)
		throw usage_failure("--offset " + words_.offset + " and --length " + words_.length + " go beyond 4 GiB", size_hint);
	return range;
}

std::string parser::input() const
{
	if (words_.file.empty())
		throw usage_failure("the FILE is missing", "\"-\" is standard input");
	return words_.file;
}

any_request parser::make_read() const
{
	if (options_.json && words_.output == "-")
		throw usage_failure("--json and the data cannot both go to standard output", "give --output FILE");
	return read_request{range(), words_.output, words_.hex};
}

// Sixty-four hexadecimal digits in lower case.
std::string hash_of(std::string text)
{
	std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
	const bool digits = std::ranges::all_of(text, [](unsigned char c) { return std::isxdigit(c); });
	if (text.size() != 64 || !digits)
		throw usage_failure("--sha256 " + text + " is no SHA-256", "it has 64 hexadecimal digits");
	return text;
}

any_request parser::make_verify() const
{
	if (words_.sha256.empty())
		return verify_request{range(), input(), ""};
	if (!words_.file.empty())
		throw usage_failure("FILE and --sha256 exclude each other", "give one of them");
	return verify_request{range(), "", hash_of(words_.sha256)};
}

verification verification_of(const std::string &word)
{
	static const std::map<std::string, verification> words = {
		{"all", verification::all}, {"range", verification::range}, {"none", verification::none}};
	const auto found = words.find(word);
	if (found == words.end())
		throw usage_failure("--verify " + word + " is unknown", "it is all, range or none");
	return found->second;
}

danger danger_of(const std::string &word)
{
	for (const danger kind : {danger::mounted, danger::ubi, danger::swap, danger::claimed, danger::unknown})
		if (word == word_of(kind))
			return kind;
	throw usage_failure("--force " + word + " is no danger", "it is mounted, ubi, swap, claimed or unknown, as the refusal says");
}

std::vector<danger> dangers_of(const std::vector<std::string> &words)
{
	std::vector<danger> forced;
	std::ranges::transform(words, std::back_inserter(forced), danger_of);
	return forced;
}

any_request parser::make_write() const
{
	write_request request = {range(), input(), verification_of(words_.verify), words_.dry_run, words_.yes, dangers_of(words_.forced)};
	request.resume = words_.resume;
	if (!words_.sha256.empty())
		request.sha256 = hash_of(words_.sha256);
	if (!words_.last.empty())
		request.last = size_of("--last", words_.last);
	if (request.last == 0u)
		throw usage_failure("--last 0 is no header", "give the number of its bytes, or leave out --last");
	if (request.verify == verification::none && (request.last || request.resume))
		throw usage_failure(std::string("--verify none and ") + (request.last ? "--last" : "--resume") + " exclude each other",
				    "the flash has to be read for it");
	return request;
}

any_request parser::make_backup() const
{
	return backup_request{words_.folder, words_.partitions};
}

any_request parser::make_restore() const
{
	return restore_request{words_.folder, words_.partitions, words_.dry_run, words_.yes, dangers_of(words_.forced)};
}

any_request parser::make_spi() const
{
	if (words_.instance.empty() == words_.name.empty())
		throw usage_failure("an SPI flash is looked up either by --instance or by --name", where_help_is());
	if (words_.name.size() > FLASH_MNG_NAME_SIZE)
		throw usage_failure("--name " + words_.name + " is too long", "names have at most 32 bytes");
	if (!words_.name.empty())
		return spi_request{std::nullopt, words_.name};
	const auto instance = parse_code(words_.instance);
	if (!instance)
		throw usage_failure("--instance " + words_.instance + " is no instance", "instances are numbers of 32 bits");
	return spi_request{flash_mng::instance_id{*instance}, ""};
}

std::vector<std::string> code_names()
{
	std::vector<std::string> names;
	for (const code_words &words : all_codes())
		names.push_back(words.name.starts_with("FLASH_MNG_") ? words.name.substr(10) : words.name);
	return names;
}

std::string joined(const std::vector<std::string> &words)
{
	std::string text;
	for (const std::string &word : words)
		text += (text.empty() ? "" : " ") + word;
	return text;
}

any_request parser::make_explain() const
{
	const std::string what = joined(words_.explained);
	if (what.empty())
		return explain_request{};
	auto code = parse_code(what);
	if (!code)
		code = code_of_name(what);
	const bool is_word = what.find_first_of(" \t\n") == what.npos;
	if (!code && is_word && messages_with(what).empty())
		throw usage_failure(what + " is neither a number of 32 bits, nor the name of a code, nor part of a message",
				    did_you_mean(what, code_names()));
	return explain_request{code, code ? "" : what};
}

std::string parser::where_help_is() const
{
	const auto selected = app_.get_subcommands();
	return "see \"flashctl " + (selected.empty() ? "" : selected.back()->get_name() + " ") + "--help\"";
}

std::vector<std::string> option_names(const CLI::App *app)
{
	std::vector<std::string> names;
	for (const CLI::Option *option : app->get_options())
		for (const std::string &name : option->get_lnames())
			names.push_back("--" + name);
	return names;
}

void parser::refuse_extra(const CLI::App *selected, const std::string &extra) const
{
	std::vector<std::string> names = option_names(&app_);
	if (selected)
		std::ranges::copy(option_names(selected), std::back_inserter(names));
	if (!selected && !extra.starts_with("-")) {
		names.clear();
		for (const CLI::App *known : app_.get_subcommands([](const CLI::App *) { return true; }))
			names.push_back(known->get_name());
	}
	const char *const what = extra.starts_with("-") ? "unknown option " : selected ? "unexpected argument " : "unknown command ";
	const std::string hint = did_you_mean(extra, names);
	throw usage_failure(what + extra, hint.empty() ? where_help_is() : hint);
}

void parser::refuse(const CLI::ParseError &error) const
{
	const auto selected = app_.get_subcommands();
	const std::vector<std::string> extras = app_.remaining(true);
	if (!extras.empty())
		refuse_extra(selected.empty() ? nullptr : selected.back(), extras.front());
	const std::string said = error.what();
	if (const std::size_t end = said.find(" was given a disallowed flag override"); end != said.npos)
		throw usage_failure("--" + said.substr(0, end) + " takes no value", "leave out the option where it is not wanted");
	if (selected.empty() && error.get_name() == "RequiredError")
		throw usage_failure("a command is missing", where_help_is());
	throw usage_failure(error.what(), where_help_is());
}

// A variable of a script that is not set must not choose what happens when nothing is given.
void parser::refuse_empty(const CLI::App *app) const
{
	for (const CLI::Option *option : app->get_options())
		if (std::ranges::find(option->results(), "") != option->results().end())
			throw usage_failure(option->get_name() + " is empty", where_help_is());
}

// The library takes --yes= for --yes.
void refuse_empty_values(const std::vector<std::string> &arguments)
{
	for (const std::string &word : arguments) {
		if (word == "--")
			break;
		if (word.starts_with("--") && word.ends_with("="))
			throw usage_failure(word.substr(0, word.size() - 1) + " is empty", "leave out an option that is not wanted");
	}
}

command_line parser::parse(const std::vector<std::string> &arguments)
{
	refuse_empty_values(arguments);
	std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
	try {
		app_.parse(reversed);
	} catch (const CLI::CallForHelp &) {
		return {std::nullopt, "", app_.help()};
	} catch (const CLI::CallForVersion &) {
		return {std::nullopt, "", app_.version() + "\n"};
	} catch (const CLI::ParseError &error) {
		refuse(error);
	}
	if (options_.quiet && options_.verbose)
		throw usage_failure("--quiet and --verbose exclude each other", "give one of them");
	if (options_.quiet && options_.progress)
		throw usage_failure("--quiet and --progress exclude each other", "give one of them");
	const CLI::App *const selected = app_.get_subcommands().front();
	refuse_empty(&app_);
	refuse_empty(selected);
	return {request{options_, (this->*makers_.at(selected))()}, selected->get_name(), ""};
}

} // namespace

command_line parse_command_line(const std::vector<std::string> &arguments)
{
	return parser().parse(arguments);
}

} // namespace flashctl
