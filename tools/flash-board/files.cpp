// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "files.hpp"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>
#include <span>
#include <system_error>

#include "common/whole_file.hpp"

namespace flash_board {
namespace {

struct closer {
	void operator()(std::FILE *file) const { std::fclose(file); }
};

[[noreturn]] void fail_reading(const std::string &path)
{
	throw file_error(path, "cannot be read: " + std::generic_category().message(errno));
}

// A stream does not tell an error from the end; behind std::cin is stdin, which does.
std::string read_stream(std::istream &stream)
{
	std::string text;
	char part[65536];

	while (text.size() <= max_file_size && (stream.read(part, sizeof(part)), stream.gcount()))
		text.append(part, static_cast<std::size_t>(stream.gcount()));
	if (&stream == &std::cin && std::ferror(stdin))
		fail_reading("standard input");
	return text;
}

} // namespace

std::string read_file(const std::string &path, std::istream &standard)
{
	if (path == "-")
		return read_stream(standard);
	const std::unique_ptr<std::FILE, closer> file(std::fopen(path.c_str(), "rb"));
	std::string text;
	char part[65536];

	if (!file)
		fail_reading(path);
	for (std::size_t size = 1; size && text.size() <= max_file_size;) {
		size = std::fread(part, 1, sizeof(part), file.get());
		text.append(part, size);
	}
	if (std::ferror(file.get()))
		fail_reading(path);
	return text;
}

void write_file(const std::string &path, std::string_view content, std::ostream &standard)
{
	if (path == "-") {
		standard << content;
		return;
	}
	try {
		tools::write_whole_file(path, std::as_bytes(std::span(content)));
	} catch (const std::system_error &error) {
		throw file_error(path, "cannot be written: " + error.code().message());
	}
}

} // namespace flash_board
