// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "processes.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace guest {

namespace {

void lead(const char *path, int flags, int stream)
{
	const int file = open(path, flags);
	if (file < 0 || dup2(file, stream) < 0)
		_exit(126);
	close(file);
}

[[noreturn]] void become(std::vector<char *> words, const surroundings &around, int output)
{
	lead(around.input.c_str(), O_RDONLY, STDIN_FILENO);
	dup2(output, STDOUT_FILENO);
	dup2(output, STDERR_FILENO);
	if (!around.errors.empty())
		lead(around.errors.c_str(), O_WRONLY | O_NOCTTY, STDERR_FILENO);
	if (around.user && (setgid(around.user) || setuid(around.user)))
		_exit(126);
	execv(words[0], words.data());
	_exit(127);
}

std::vector<char *> as_words(const std::vector<std::string> &command)
{
	std::vector<char *> words;
	for (const std::string &word : command)
		words.push_back(const_cast<char *>(word.c_str()));
	words.push_back(nullptr);
	return words;
}

std::string content_of(std::FILE *file)
{
	std::string text;
	char part[4096];
	std::rewind(file);
	while (const std::size_t count = fread(part, 1, sizeof(part), file))
		text.append(part, count);
	return text;
}

} // namespace

started_program::started_program(const std::vector<std::string> &command, const surroundings &around)
	: output_(std::tmpfile()), process_(output_ ? fork() : -1)
{
	if (process_ == 0)
		become(as_words(command), around, fileno(output_));
	if (process_ < 0)
		throw std::runtime_error(command.front() + " cannot be started: " + std::strerror(errno));
}

started_program::~started_program()
{
	if (process_ > 0)
		end();
	std::fclose(output_);
}

ended_program started_program::end()
{
	int status = 0;
	while (waitpid(process_, &status, 0) < 0 && errno == EINTR)
		;
	process_ = 0;
	return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), content_of(output_)};
}

ended_program run_program(const std::vector<std::string> &command, const surroundings &around)
{
	return started_program(command, around).end();
}

std::string output_of(const std::vector<std::string> &command)
{
	std::string line;
	for (const std::string &word : command)
		line += "'" + word + "' ";
	FILE *pipe = popen(line.c_str(), "r");
	if (!pipe)
		throw std::runtime_error(line + ": " + std::strerror(errno));
	std::string text;
	char part[4096];
	while (const std::size_t count = fread(part, 1, sizeof(part), pipe))
		text.append(part, count);
	if (const int status = pclose(pipe))
		throw std::runtime_error(line + ": ended with wait status " + std::to_string(status));
	return text;
}

bool comes_true(const std::function<bool()> &happened)
{
	for (int attempt = 0; attempt < 12'000; ++attempt) {
		if (happened())
			return true;
		usleep(10000);
	}
	return false;
}

endless_process::endless_process(const std::function<void()> &work) : process_(fork())
{
	if (process_ < 0)
		throw std::runtime_error("no further process: " + std::string(std::strerror(errno)));
	if (process_ > 0)
		return;
	for (;;)
		work();
}

void endless_process::end()
{
	if (process_ <= 0)
		return;
	kill(process_, SIGKILL);
	while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR)
		;
	process_ = 0;
}

} // namespace guest
