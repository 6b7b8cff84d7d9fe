// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "files.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

#include "common/whole_file.hpp"
#include "failure.hpp"

namespace flashctl {

namespace {

struct closer {
	void operator()(std::FILE *file) const { std::fclose(file); }
};
using file_owner = std::unique_ptr<std::FILE, closer>;

failure file_failure(const std::string &path, const char *what, int error = errno)
{
	return {exit_status::file, path + ": " + what + ": " + std::strerror(error), "", flash_mng::status::from_errno(error)};
}

} // namespace

bytes read_file(const std::string &path, std::size_t most)
{
	const file_owner file(std::fopen(path.c_str(), "rb"));
	if (!file)
		throw file_failure(path, "cannot be opened");
	bytes data, chunk(0x10000);
	while (data.size() <= most) {
		const std::size_t wanted = std::min(chunk.size(), most + 1 - data.size());
		const std::size_t count = std::fread(chunk.data(), 1, wanted, file.get());
		data.insert(data.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
		if (count < wanted)
			break;
	}
	if (std::ferror(file.get()))
		throw file_failure(path, "cannot be read");
	return data;
}

void write_file(const std::string &path, byte_view data)
{
	try {
		tools::write_whole_file(path, data);
	} catch (const std::system_error &error) {
		throw file_failure(path, "cannot be written", error.code().value());
	}
}

} // namespace flashctl
