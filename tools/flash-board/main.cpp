// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// flash-board: compiles board descriptions on the desk for the parser on the device.
#include "board_file.hpp"
#include "board_reader.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <span>
#include <sstream>
#include <string>

namespace {

constexpr int exit_success = 0;
constexpr int exit_bad_input = 1;
constexpr int exit_usage = 2;

constexpr const char *usage = R"(Usage: flash-board compile BOARD.xml -o BOARD.fbd
       flash-board --help | --version

Compiles a board description to the file that the board's parser module loads.

  -o, --output FILE  where to write the compiled board description

Exit status: 0 success, 1 the input is wrong or a file cannot be read or written, 2 wrong usage.
)";

struct file_error : std::runtime_error {
	file_error(const std::string &path, const char *what) : std::runtime_error(path + ": " + what + ": " + std::strerror(errno)) {}
};

int fail_usage(const std::string &message)
{
	std::cerr << "flash-board: " << message << "\n" << usage;
	return exit_usage;
}

std::string read_file(const std::string &path)
{
	std::ifstream file(path, std::ios::binary);
	std::ostringstream text;

	if (file.peek() != std::ifstream::traits_type::eof())
		text << file.rdbuf();
	if (!file.is_open() || file.bad() || !text)
		throw file_error(path, "cannot be read");
	return text.str();
}

// Writes beside the target and renames, so that a failure leaves no half-written file.
void write_file(const std::string &path, std::span<const std::uint8_t> bytes)
{
	const auto unfinished = path + ".part";
	std::ofstream file(unfinished, std::ios::binary);

	file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
	file.close();
	if (file && !std::rename(unfinished.c_str(), path.c_str()))
		return;
	const int reason = errno;
	std::remove(unfinished.c_str());
	errno = reason;
	throw file_error(path, "cannot be written");
}

int compile(std::span<char *> arguments)
{
	std::optional<std::string> input, output;

	for (std::size_t i = 0; i < arguments.size(); i++) {
		const std::string argument = arguments[i];

		if (argument == "-o" || argument == "--output") {
			if (output || i + 1 == arguments.size())
				return fail_usage(argument + " takes one file name and is given once");
			output = arguments[++i];
		} else if (argument.starts_with("-")) {
			return fail_usage("unknown option " + argument);
		} else if (input) {
			return fail_usage("one board description at a time; \"" + argument + "\" is a second one");
		} else {
			input = argument;
		}
	}
	if (!input || !output)
		return fail_usage(input ? "compile needs -o FILE" : "compile needs a board description");
	write_file(*output, flash_board::compile(read_file(*input), *input));
	return exit_success;
}

int run(std::span<char *> arguments)
{
	const std::string command = arguments.empty() ? "" : arguments.front();

	if (command == "--help" || command == "-h") {
		std::cout << usage;
		return exit_success;
	}
	if (command == "--version") {
		std::cout << "flash-board " FLASH_BOARD_VERSION "\n";
		return exit_success;
	}
	if (command == "compile")
		return compile(arguments.subspan(1));
	return fail_usage(command.empty() ? "a command is missing" : "unknown command " + command);
}

} // namespace

int main(int argc, char **argv)
{
	try {
		return run(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
	} catch (const flash_board::input_error &error) {
		std::cerr << error.what() << "\n";
	} catch (const std::exception &error) {
		std::cerr << "flash-board: " << error.what() << "\n";
	}
	return exit_bad_input;
}
