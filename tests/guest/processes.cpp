// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "processes.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace guest {

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
	for (int attempt = 0; attempt < 1000; ++attempt) {
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
