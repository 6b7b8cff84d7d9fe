// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "running_board.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <stdexcept>

namespace powercut {

std::vector<std::uint8_t> read_image(const std::string &path, std::size_t size)
{
	std::ifstream file(path, std::ios::binary);
	std::vector<std::uint8_t> image(size);
	if (!file.read(reinterpret_cast<char *>(image.data()), static_cast<std::streamsize>(image.size())))
		throw std::runtime_error("cannot read " + path);
	return image;
}

void write_image(const std::string &path, const std::vector<std::uint8_t> &image)
{
	std::ofstream file(path, std::ios::binary | std::ios::trunc);
	file.write(reinterpret_cast<const char *>(image.data()), static_cast<std::streamsize>(image.size()));
	if (!file.flush())
		throw std::runtime_error("cannot write " + path);
}

running_board::running_board(const std::vector<std::string> &command)
{
	int ends[2];
	if (pipe2(ends, O_CLOEXEC))
		throw std::runtime_error("no pipe");
	pid_ = fork();
	if (pid_ == 0)
		become(command, ends[1]);
	close(ends[1]);
	output_ = ends[0];
}

running_board::~running_board()
{
	cut_power();
	close(output_);
}

bool running_board::listen(const char *text, clock::time_point until, std::size_t times)
{
	while (!has(text, times)) {
		const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - clock::now()).count();
		pollfd ready{output_, POLLIN, 0};
		if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) <= 0 || !take())
			break;
	}
	return has(text, times);
}

void running_board::cut_power()
{
	if (pid_ > 0) {
		kill(pid_, SIGKILL);
		waitpid(pid_, nullptr, 0);
	}
	pid_ = -1;
}

const std::string &running_board::everything()
{
	while (take())
		;
	return said_;
}

void running_board::become(const std::vector<std::string> &command, int output)
{
	std::vector<char *> arguments;
	for (const auto &word : command)
		arguments.push_back(const_cast<char *>(word.c_str()));
	arguments.push_back(nullptr);
	prctl(PR_SET_PDEATHSIG, SIGKILL);
	const int nothing = open("/dev/null", O_RDWR);
	dup2(nothing, STDIN_FILENO);
	dup2(output, STDOUT_FILENO);
	dup2(output, STDERR_FILENO);
	execvp(arguments[0], arguments.data());
	_exit(127);
}

bool running_board::has(const char *text, std::size_t times) const
{
	std::size_t at = 0;
	for (; times > 0 && (at = said_.find(text, at)) != said_.npos; --times)
		++at;
	return times == 0;
}

bool running_board::take()
{
	char part[4096];
	const auto size = read(output_, part, sizeof(part));
	if (size > 0)
		said_.append(part, static_cast<std::size_t>(size));
	return size > 0;
}

} // namespace powercut
