// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Files that are written whole or not at all.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace tools {

// Puts `data` where `path` leads to.
//
// A regular file is replaced, or made, at once: until all of it is stored, the old one stays, and nothing is left behind by a failure. The
// unfinished file has no name, or a random one where the file system cannot do without. A replaced file keeps its mode and, where the
// caller may give it away, its owner; other hard links keep the old content. A new file has the mode that the umask leaves. Symbolic links
// stay and are followed, except those in a folder that everybody can write to with the sticky bit, such as /tmp, which belong neither to
// the caller nor to the folder's owner. A file that the caller may not write to is not replaced.
//
// Devices, FIFOs and sockets are written to and stay. /dev/stdout, /dev/stderr and /dev/fd/N, by any way that leads there, are written to
// where the stream stands, whatever is behind them.
//
// Throws std::system_error with the errno of what failed.
void write_whole_file(const std::string &path, std::span<const std::byte> data);

} // namespace tools
