// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "common/standard_streams.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace tools {

// A descriptor for a path only can neither be read nor written; a new one has the lowest free number.
void hold_standard_streams()
{
	for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
		if (fcntl(stream, F_GETFD) < 0)
			static_cast<void>(open("/", O_PATH | O_CLOEXEC));
}

} // namespace tools
