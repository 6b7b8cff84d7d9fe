// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "run.hpp"

#include <algorithm>
#include <optional>

#include "command_line.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "json.hpp"
#include "text.hpp"

namespace flashctl {

namespace {

struct ending {
	std::optional<outcome> found;
	std::optional<failure> wrong;
};

// A comparison that came out badly is a result and a failure.
std::optional<failure> mismatch(const outcome &found)
{
	const auto *verified = std::get_if<verify_outcome>(&found);
	const auto *written = std::get_if<write_outcome>(&found);
	if (verified && !verified->equal())
		return failure{exit_status::mismatch, "\"" + verified->range.device.name + "\" does not hold the expected data", ""};
	if (written && !written->equal())
		return failure{exit_status::mismatch, "\"" + written->range.device.name + "\" does not hold what was written",
			       "look for errors of the flash in the kernel log, then write again"};
	const auto *restored = std::get_if<restore_outcome>(&found);
	return restored ? restored->wrong : std::nullopt;
}

ending carry_out(const request &request, flash &flash, console &console)
{
	workplace place = {flash, console, request.options, {}};
	ending end;
	try {
		end.found = std::visit([&place](const auto &what) { return run_command(what, place); }, request.what);
		end.wrong = mismatch(*end.found);
	} catch (...) {
		end.wrong = failure_in_flight();
	}
	return end;
}

void tell(const std::string &command, const options &options, const ending &end, console &console, bool plain)
{
	if (options.json) {
		console.print(json_report(command, end.found ? &*end.found : nullptr, end.wrong ? &*end.wrong : nullptr, options.progress));
		return;
	}
	if (end.found)
		console.print(
			text_report(*end.found, options, {!plain && console.output_is_terminal(), console.width(), console.speaks_utf8()}));
	if (end.wrong)
		console.complain(text_of_failure(command, *end.wrong, {!plain && console.errors_are_terminal()}));
}

int exit_code(const ending &end)
{
	return static_cast<int>(end.wrong ? end.wrong->exit : exit_status::done);
}

// The last word: nothing is a success that did not arrive.
int finish(int exit, console &console)
{
	if (console.finish() || exit != 0)
		return exit;
	console.complain("flashctl: standard output could not be written\n");
	return static_cast<int>(exit_status::file);
}

} // namespace

int run(const std::vector<std::string> &arguments, flash &flash, console &console, bool plain)
{
	options options;
	std::string command;
	try {
		const command_line line = parse_command_line(arguments);
		if (!line.request) {
			console.print(line.text);
			return finish(0, console);
		}
		const ending end = carry_out(*line.request, flash, console);
		tell(line.command, line.request->options, end, console, plain);
		return finish(exit_code(end), console);
	} catch (const failure &wrong) {
		options.json = std::ranges::find(arguments, "--json") != arguments.end();
		options.progress = std::ranges::find(arguments, "--progress") != arguments.end();
		tell(command, options, {std::nullopt, wrong}, console, plain);
		return finish(static_cast<int>(wrong.exit), console);
	}
}

} // namespace flashctl
