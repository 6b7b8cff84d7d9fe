// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "programs.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr std::uint32_t failed = 0xFFFFFFFF;

class file {
public:
	file(const std::string &path, int flags) : fd_(open(path.c_str(), flags | O_CLOEXEC)) {}
	~file()
	{
		if (fd_ >= 0)
			close(fd_);
	}
	file(const file &) = delete;
	file &operator=(const file &) = delete;
	int get() const { return fd_; }

private:
	int fd_;
};

} // namespace

std::uint32_t run_program(const std::vector<std::string> &words)
{
	std::vector<char *> arguments;
	for (const std::string &word : words)
		arguments.push_back(const_cast<char *>(word.c_str()));
	arguments.push_back(nullptr);

	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
	pid_t child = 0;
	const int refused = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), nullptr);
	posix_spawn_file_actions_destroy(&actions);
	int status = 0;
	if (refused || waitpid(child, &status, 0) != child)
		return failed;
	return static_cast<std::uint32_t>(status);
}

std::uint32_t read_file(const char *path)
{
	const file source(path, O_RDONLY);
	char text[16384];
	ssize_t count = 0;
	while ((count = read(source.get(), text, sizeof(text))) > 0)
		;
	return count == 0 ? 0 : failed;
}

std::uint32_t read_range(const std::string &path, std::uint32_t offset, void *buffer, std::uint32_t length)
{
	const file source(path, O_RDONLY);
	return pread(source.get(), buffer, length, offset) == static_cast<ssize_t>(length) ? 0 : failed;
}

std::uint32_t load_module(const std::string &name)
{
	const file module("/lib/modules/" + name + ".ko", O_RDONLY);
	return syscall(SYS_finit_module, module.get(), "", 0) == 0 ? 0 : failed;
}

std::uint32_t unload_module(const std::string &name)
{
	return syscall(SYS_delete_module, name.c_str(), O_NONBLOCK) == 0 ? 0 : failed;
}

} // namespace bench
