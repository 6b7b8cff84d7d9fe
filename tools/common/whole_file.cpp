// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "common/whole_file.hpp"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/numbers.hpp"

namespace tools {

namespace {

constexpr int most_links = 40; // as many as Linux follows
constexpr mode_t new_mode = 0666;
constexpr mode_t private_mode = 0600;
constexpr mode_t mode_bits = 07777;
constexpr mode_t plain_mode_bits = 0777;

[[noreturn]] void fail(int error = errno)
{
	throw std::system_error(error, std::generic_category());
}

class descriptor {
public:
	explicit descriptor(int number = -1) : number_(number) {}
	descriptor(descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
	descriptor &operator=(descriptor &&other) noexcept
	{
		std::swap(number_, other.number_);
		return *this;
	}
	~descriptor()
	{
		if (number_ >= 0)
			::close(number_);
	}

	explicit operator bool() const { return number_ >= 0; }
	int number() const { return number_; }

	// Some file systems tell only now that something was not stored.
	void close()
	{
		if (::close(std::exchange(number_, -1)) != 0)
			fail();
	}

private:
	int number_;
};

descriptor need(int number)
{
	if (number < 0)
		fail();
	return descriptor(number);
}

struct stat told_by(int number)
{
	struct stat told;
	if (fstat(number, &told) != 0)
		fail();
	return told;
}

// Where a path ends once its links are followed: a name in a folder, or a descriptor that this program has.
struct target {
	descriptor folder; // for its path only
	std::string name;
	std::optional<struct stat> there;
	int stream = -1;
};

std::optional<int> stream_number(std::string_view name)
{
	const auto number = parse_number(name, INT_MAX);
	return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

// These names are known without /proc, and where nobody made the links.
std::optional<int> stream_of_path(std::string_view path)
{
	constexpr std::string_view folder = "/dev/fd/";
	if (path == "/dev/stdout")
		return STDOUT_FILENO;
	if (path == "/dev/stderr")
		return STDERR_FILENO;
	return path.starts_with(folder) ? stream_number(path.substr(folder.size())) : std::nullopt;
}

bool is_own_streams(int folder)
{
	const struct stat told = told_by(folder);
	struct stat own;
	return stat("/proc/self/fd", &own) == 0 && own.st_dev == told.st_dev && own.st_ino == told.st_ino;
}

// In a folder that everybody shares, a link may have been planted.
bool may_follow(const struct stat &folder, const struct stat &link)
{
	const bool is_shared = (folder.st_mode & S_ISVTX) && (folder.st_mode & S_IWOTH);
	return !is_shared || link.st_uid == geteuid() || link.st_uid == folder.st_uid;
}

std::string content_of_link(int link)
{
	std::array<char, PATH_MAX> text;
	const ssize_t size = readlinkat(link, "", text.data(), text.size());
	if (size < 0)
		fail();
	return {text.data(), static_cast<std::size_t>(size)};
}

// The folder of a path, with its slash, and what is behind it.
std::pair<std::string, std::string> split(const std::string &path)
{
	const std::size_t slash = path.rfind('/');
	return slash == path.npos ? std::pair<std::string, std::string>("./", path)
				  : std::pair(path.substr(0, slash + 1), path.substr(slash + 1));
}

target find_target(std::string path)
{
	for (int links = 0; links <= most_links; ++links) {
		if (const auto stream = stream_of_path(path))
			return {descriptor(), "", std::nullopt, *stream};
		const auto [folder_path, name] = split(path);
		if (name.empty() || name == "." || name == "..")
			fail(path.empty() ? ENOENT : EISDIR);
		descriptor folder = need(open(folder_path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
		if (const auto stream = stream_number(name); stream && is_own_streams(folder.number()))
			return {descriptor(), "", std::nullopt, *stream};
		const descriptor there(openat(folder.number(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
		if (!there && errno != ENOENT)
			fail();
		if (!there)
			return {std::move(folder), name, std::nullopt};
		const struct stat told = told_by(there.number());
		if (!S_ISLNK(told.st_mode))
			return {std::move(folder), name, told};
		if (!may_follow(told_by(folder.number()), told))
			fail(EACCES);
		const std::string next = content_of_link(there.number());
		path = next.starts_with('/') ? next : folder_path + next;
	}
	fail(ELOOP);
}

void write_all(int number, std::span<const std::byte> data)
{
	while (!data.empty()) {
		const ssize_t count = write(number, data.data(), data.size());
		if (count < 0 && errno != EINTR)
			fail();
		data = data.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
	}
}

descriptor connect_to(const target &where)
{
	descriptor connection = need(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
	sockaddr_un address = {};
	address.sun_family = AF_UNIX;
	// A path by the folder's descriptor is short, however long the folder's own is.
	const int length =
		std::snprintf(address.sun_path, sizeof(address.sun_path), "/proc/self/fd/%d/%s", where.folder.number(), where.name.c_str());
	if (length >= static_cast<int>(sizeof(address.sun_path)))
		fail(ENAMETOOLONG);
	if (connect(connection.number(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0)
		fail();
	return connection;
}

void write_in_place(const target &where, std::span<const std::byte> data)
{
	descriptor file = S_ISSOCK(where.there->st_mode)
				  ? connect_to(where)
				  : need(openat(where.folder.number(), where.name.c_str(), O_WRONLY | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
	write_all(file.number(), data);
	file.close();
}

void write_to_stream(int stream, std::span<const std::byte> data)
{
	descriptor copy = need(fcntl(stream, F_DUPFD_CLOEXEC, 0));
	write_all(copy.number(), data);
	copy.close();
}

std::string random_name()
{
	constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz012345";
	std::array<unsigned char, 16> random;
	if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
		fail();
	std::string name = ".";
	for (const unsigned char byte : random)
		name += letters[byte % letters.size()];
	return name;
}

// A file that is not there yet: without a name at first where the file system can, gone unless it is moved to its place.
class unfinished_file {
public:
	unfinished_file(int folder, mode_t mode) : folder_(folder), file_(openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode))
	{
		if (file_)
			return;
		name_ = random_name();
		file_ = need(openat(folder, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
	}
	unfinished_file(const unfinished_file &) = delete;
	unfinished_file &operator=(const unfinished_file &) = delete;
	~unfinished_file() { remove(); }

	int number() const { return file_.number(); }

	void move_to(const std::string &name)
	{
		if (name_.empty())
			give_name();
		if (renameat(folder_, name_.c_str(), folder_, name.c_str()) != 0)
			fail();
		name_.clear();
	}

private:
	void give_name()
	{
		const std::string name = random_name();
		const std::string self = "/proc/self/fd/" + std::to_string(file_.number());
		if (linkat(AT_FDCWD, self.c_str(), folder_, name.c_str(), AT_SYMLINK_FOLLOW) != 0 &&
		    linkat(file_.number(), "", folder_, name.c_str(), AT_EMPTY_PATH) != 0)
			fail();
		name_ = name;
	}

	void remove() const
	{
		if (!name_.empty())
			unlinkat(folder_, name_.c_str(), 0);
	}

	int folder_;
	descriptor file_;
	std::string name_; // empty: none
};

// What of the owner the caller may give away. A file that is not the same one's any more must not run as its owner.
void take_after(int file, const struct stat &old)
{
	const bool group_kept = fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0;
	const bool owner_kept = told_by(file).st_uid == old.st_uid || fchown(file, old.st_uid, static_cast<gid_t>(-1)) == 0;
	if (fchmod(file, old.st_mode & (group_kept && owner_kept ? mode_bits : plain_mode_bits)) != 0)
		fail();
}

// Not every file system can tell; one that cannot has nothing to wait for.
void store(int file)
{
	if (fsync(file) != 0 && errno != EINVAL && errno != EROFS)
		fail();
}

void replace(const target &where, std::span<const std::byte> data)
{
	if (where.there && faccessat(where.folder.number(), where.name.c_str(), W_OK, AT_EACCESS) != 0)
		fail();
	unfinished_file file(where.folder.number(), where.there ? private_mode : new_mode);
	write_all(file.number(), data);
	if (where.there)
		take_after(file.number(), *where.there);
	store(file.number());
	file.move_to(where.name);
}

} // namespace

void write_whole_file(const std::string &path, std::span<const std::byte> data)
{
	const target where = find_target(path);
	if (where.stream >= 0)
		write_to_stream(where.stream, data);
	else if (!where.there || S_ISREG(where.there->st_mode))
		replace(where, data);
	else if (S_ISDIR(where.there->st_mode))
		fail(EISDIR);
	else
		write_in_place(where, data);
}

} // namespace tools
