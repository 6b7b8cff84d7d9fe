// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "terminal.hpp"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>

#include "failure.hpp"
#include "number.hpp"

namespace flashctl {

namespace {

using namespace std::chrono_literals;

struct closer {
	void operator()(std::FILE *file) const { std::fclose(file); }
};

std::size_t columns_of(int descriptor)
{
	winsize size = {};
	return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col ? size.ws_col : 80;
}

// Of the terminal behind standard error; a longer line could not be wiped.
std::size_t columns()
{
	return columns_of(STDERR_FILENO);
}

// As much of it as fits before the ending; a letter of several bytes stays whole.
std::string fitting(const std::string &text, const std::string &ending)
{
	const std::size_t room = columns() - std::min(columns(), ending.size() + 1);
	if (text.size() <= room)
		return text + ending;
	std::size_t end = room;
	while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80)
		--end;
	return text.substr(0, end) + ending;
}

// Draws "text ... 3 s" every quarter of a second, from the first quarter on, until it is stopped, and wipes it then.
void tick(const std::stop_token &stop, const std::string &text)
{
	static std::mutex mutex;
	std::condition_variable_any changed;
	std::unique_lock lock(mutex);
	const auto begin = std::chrono::steady_clock::now();
	const auto stopped = [&stop] { return stop.stop_requested(); };
	bool drawn = false;
	while (!changed.wait_for(lock, stop, 250ms, stopped)) {
		const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
		const std::string line = fitting(text, fmt::format(" ... {} s", seconds.count()));
		std::fprintf(stderr, "\r\033[K%s", line.c_str());
		drawn = true;
	}
	if (drawn)
		std::fputs("\r\033[K", stderr);
}

// A whole line; an unfinished one is no answer.
std::string take_line(std::FILE *source)
{
	std::string line;
	for (int letter = std::fgetc(source); letter != EOF; letter = std::fgetc(source)) {
		if (letter == '\n')
			return line;
		line += static_cast<char>(std::tolower(letter));
	}
	return "";
}

console::answer answer_of(std::string line)
{
	line.erase(0, std::min(line.find_first_not_of(" \t\r"), line.size()));
	line.erase(line.find_last_not_of(" \t\r") + 1);
	return line == "y" || line == "yes" ? console::answer::yes : console::answer::no;
}

volatile std::sig_atomic_t g_first_signal = 0;

void remember(int number)
{
	if (!g_first_signal)
		g_first_signal = number;
}

} // namespace

bool terminal::output_is_terminal() const
{
	return isatty(STDOUT_FILENO) == 1;
}

bool terminal::errors_are_terminal() const
{
	return isatty(STDERR_FILENO) == 1;
}

std::size_t terminal::width() const
{
	const char *const told = std::getenv("COLUMNS");
	const std::uint64_t number = told && !output_is_terminal() ? tools::parse_number(told, 1000).value_or(0) : 0;
	return number ? static_cast<std::size_t>(number) : columns_of(STDOUT_FILENO);
}

bool terminal::speaks_utf8() const
{
	for (const char *const name : {"LC_ALL", "LC_CTYPE", "LANG"})
		if (const char *const value = std::getenv(name); value && *value)
			return strcasestr(value, "UTF-8") || strcasestr(value, "utf8");
	return false;
}

void terminal::print(std::string_view text)
{
	if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
		output_failed_ = true;
}

void terminal::complain(std::string_view text)
{
	std::fflush(stdout);
	std::fwrite(text.data(), 1, text.size(), stderr);
}

void terminal::show_step(const std::string &text)
{
	ticker_ = {};
	if (!text.empty())
		ticker_ = std::jthread([text](const std::stop_token &stop) { tick(stop, text); });
}

// Standard input may carry the data, so the question goes to the terminal itself where there is one.
console::answer terminal::ask(const std::string &question)
{
	const std::unique_ptr<std::FILE, closer> person(std::fopen("/dev/tty", "r"));
	std::FILE *const source = person ? person.get() : stdin;
	if (!person && isatty(STDIN_FILENO) != 1)
		return answer::nobody;
	std::fprintf(stderr, "%s [y/N] ", question.c_str());
	std::fflush(stderr);
	return answer_of(take_line(source));
}

// Without SA_RESTART, so that whoever is asked or waits for data can leave; transfers of the flash are not interrupted by it.
void terminal::hold_signals()
{
	struct sigaction action = {};
	action.sa_handler = remember;
	for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
		struct sigaction old;
		if (sigaction(number, nullptr, &old) == 0 && old.sa_handler != SIG_IGN)
			sigaction(number, &action, nullptr);
	}
	std::signal(SIGPIPE, SIG_IGN);
}

const char *terminal::signal() const
{
	switch (g_first_signal) {
	case 0:
		return nullptr;
	case SIGINT:
		return "SIGINT";
	case SIGTERM:
		return "SIGTERM";
	default:
		return "SIGHUP";
	}
}

bytes terminal::take_input(std::size_t most)
{
	bytes data, chunk(0x10000);
	while (data.size() <= most) {
		const std::size_t wanted = std::min(chunk.size(), most + 1 - data.size());
		const std::size_t count = std::fread(chunk.data(), 1, wanted, stdin);
		data.insert(data.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
		if (count < wanted)
			break;
	}
	if (std::ferror(stdin))
		throw failure{exit_status::file, std::string("standard input cannot be read: ") + std::strerror(errno), ""};
	return data;
}

std::chrono::microseconds terminal::clock() const
{
	return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

bool terminal::finish()
{
	output_failed_ |= std::fflush(stdout) != 0;
	return !output_failed_;
}

bool wants_no_colours()
{
	const char *const no_color = std::getenv("NO_COLOR");
	const char *const kind = std::getenv("TERM");
	return (no_color && *no_color) || !kind || std::strcmp(kind, "dumb") == 0;
}

} // namespace flashctl
