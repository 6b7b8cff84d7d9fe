// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "files.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "failure.hpp"

namespace flashctl {

namespace {

struct closer {
	void operator()(std::FILE *file) const { std::fclose(file); }
};
using file_owner = std::unique_ptr<std::FILE, closer>;

failure file_failure(const std::string &path, const char *what)
{
	return {exit_status::file, path + ": " + what + ": " + std::strerror(errno), "", flash_mng::status::from_errno(errno)};
}

bool is_special(const std::string &path)
{
	std::error_code none;
	const auto kind = std::filesystem::status(path, none).type();
	return kind != std::filesystem::file_type::regular && kind != std::filesystem::file_type::not_found;
}

void write_whole(const std::string &path, byte_view data)
{
	file_owner file(std::fopen(path.c_str(), "wb"));
	if (!file || std::fwrite(data.data(), 1, data.size(), file.get()) != data.size() || std::fclose(file.release()) != 0)
		throw file_failure(path, "cannot be written");
}

} // namespace

bytes read_file(const std::string &path, std::size_t most)
{
	const file_owner file(std::fopen(path.c_str(), "rb"));
	if (!file)
		throw file_failure(path, "cannot be opened");
	bytes data, chunk(0x10000);
	while (data.size() <= most) {
		const std::size_t count = std::fread(chunk.data(), 1, std::min(chunk.size(), most + 1 - data.size()), file.get());
		if (count == 0)
			break;
		data.insert(data.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
	}
	if (std::ferror(file.get()))
		throw file_failure(path, "cannot be read");
	return data;
}

void write_file(const std::string &path, byte_view data)
{
	if (is_special(path))
		return write_whole(path, data);
	const std::string unfinished = path + ".part";
	try {
		write_whole(unfinished, data);
		if (std::rename(unfinished.c_str(), path.c_str()) != 0)
			throw file_failure(path, "cannot be written");
	} catch (const failure &) {
		std::remove(unfinished.c_str());
		throw;
	}
}

} // namespace flashctl
