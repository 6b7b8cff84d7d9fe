// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A folder for one test, gone at its end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace flashctl_tests {

class scratch {
public:
	scratch()
	{
		std::string name = (std::filesystem::temp_directory_path() / "flashctl_XXXXXX").string();
		folder_ = mkdtemp(name.data()) ? name : "/nonexistent";
	}
	scratch(const scratch &) = delete;
	scratch &operator=(const scratch &) = delete;
	~scratch()
	{
		std::error_code none;
		std::filesystem::remove_all(folder_, none);
	}

	std::string path(const std::string &name = "") const { return folder_ + "/" + name; }

	void write(const std::string &name, const std::string &text) const
	{
		std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
		std::ofstream(path(name), std::ios::binary) << text;
	}

	std::string content(const std::string &name) const { return content_of(path(name)); }

	static std::string content_of(const std::string &file)
	{
		std::ifstream stream(file, std::ios::binary);
		return {std::istreambuf_iterator<char>(stream), {}};
	}

private:
	std::string folder_;
};

} // namespace flashctl_tests
