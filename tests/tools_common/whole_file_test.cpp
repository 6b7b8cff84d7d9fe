// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Files that are written whole or not at all, where somebody may have prepared the folder.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include "common/whole_file.hpp"
#include "scratch.hpp"

using flashctl_tests::scratch;

namespace {

// The call of that name that fails, and with what; calls of others are counted on.
struct fault {
	std::string function;
	int error = 0;
	int hits = 0;
} g_planned;
bool g_no_anonymous_files = false;

bool fails(const char *function)
{
	if (g_planned.function != function)
		return false;
	++g_planned.hits;
	errno = g_planned.error;
	return true;
}

} // namespace

extern "C" {
int __real_openat(int folder, const char *path, int flags, ...);
int __wrap_openat(int folder, const char *path, int flags, ...);
ssize_t __real_write(int file, const void *data, size_t size);
ssize_t __wrap_write(int file, const void *data, size_t size);
int __real_fsync(int file);
int __wrap_fsync(int file);
int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode);
int __real_linkat(int from, const char *old_name, int to, const char *name, int flags);
int __wrap_linkat(int from, const char *old_name, int to, const char *name, int flags);
int __real_renameat(int from, const char *old_name, int to, const char *name);
int __wrap_renameat(int from, const char *old_name, int to, const char *name);
}

int __wrap_openat(int folder, const char *path, int flags, ...)
{
	mode_t mode = 0;
	if ((flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE) {
		va_list arguments;
		va_start(arguments, flags);
		mode = va_arg(arguments, mode_t);
		va_end(arguments);
	}
	if ((flags & O_TMPFILE) == O_TMPFILE && (g_no_anonymous_files || fails("openat"))) {
		errno = g_no_anonymous_files ? EOPNOTSUPP : errno;
		return -1;
	}
	if ((flags & O_CREAT) && fails("openat"))
		return -1;
	return __real_openat(folder, path, flags, mode);
}

ssize_t __wrap_write(int file, const void *data, size_t size)
{
	return fails("write") ? -1 : __real_write(file, data, size);
}

int __wrap_fsync(int file)
{
	return fails("fsync") ? -1 : __real_fsync(file);
}

int __wrap_fchmod(int file, mode_t mode)
{
	return fails("fchmod") ? -1 : __real_fchmod(file, mode);
}

int __wrap_linkat(int from, const char *old_name, int to, const char *name, int flags)
{
	return fails("linkat") ? -1 : __real_linkat(from, old_name, to, name, flags);
}

int __wrap_renameat(int from, const char *old_name, int to, const char *name)
{
	return fails("renameat") ? -1 : __real_renameat(from, old_name, to, name);
}

namespace {

int error_of(const std::function<void()> &work)
{
	try {
		work();
	} catch (const std::system_error &error) {
		return error.code().value();
	}
	return 0;
}

// Each case twice: on a file system that has files without names, and on one that has not.
class whole_file : public testing::TestWithParam<bool> {
protected:
	whole_file() { g_no_anonymous_files = GetParam(); }
	~whole_file() override
	{
		g_no_anonymous_files = false;
		g_planned = {};
	}

	int write(const std::string &name, const std::string &text) const
	{
		return error_of([&] { tools::write_whole_file(folder.path(name), std::as_bytes(std::span(text))); });
	}

	std::set<std::string> entries() const
	{
		std::set<std::string> names;
		for (const auto &entry : std::filesystem::directory_iterator(folder.path()))
			names.insert(entry.path().filename());
		return names;
	}

	struct stat status(const std::string &name) const
	{
		struct stat told = {};
		EXPECT_EQ(lstat(folder.path(name).c_str(), &told), 0) << name;
		return told;
	}

	void link(const std::string &name, const std::string &target) const
	{
		EXPECT_EQ(symlink(target.c_str(), folder.path(name).c_str()), 0);
	}

	scratch folder;
};

TEST_P(whole_file, is_made_with_the_mode_that_the_umask_leaves)
{
	const mode_t old = umask(027);
	EXPECT_EQ(write("new", "text"), 0);
	umask(old);
	EXPECT_EQ(folder.content("new"), "text");
	EXPECT_EQ(status("new").st_mode, S_IFREG | 0640u);
	EXPECT_EQ(entries(), std::set<std::string>{"new"});
	EXPECT_EQ(write("empty", ""), 0);
	EXPECT_EQ(folder.content("empty"), "");
}

TEST_P(whole_file, is_replaced_with_its_mode)
{
	for (const mode_t mode : {0600u, 0644u, 0755u, 0777u}) {
		folder.write("file", "old and longer");
		chmod(folder.path("file").c_str(), mode);
		EXPECT_EQ(write("file", "new"), 0);
		EXPECT_EQ(folder.content("file"), "new");
		EXPECT_EQ(status("file").st_mode & 07777, mode);
	}
	EXPECT_EQ(entries(), std::set<std::string>{"file"});
}

TEST_P(whole_file, is_replaced_with_its_owner)
{
	if (geteuid() != 0)
		GTEST_SKIP() << "only root gives files away";
	folder.write("file", "old");
	EXPECT_EQ(chown(folder.path("file").c_str(), 1234, 2345), 0);
	chmod(folder.path("file").c_str(), 04750);
	EXPECT_EQ(write("file", "new"), 0);
	EXPECT_EQ(status("file").st_uid, 1234u);
	EXPECT_EQ(status("file").st_gid, 2345u);
	EXPECT_EQ(status("file").st_mode & 07777, 04750u);
}

TEST_P(whole_file, of_another_owner_does_not_run_as_the_old_one)
{
	if (geteuid() != 0)
		GTEST_SKIP() << "only root has files of another owner";
	folder.write("file", "old");
	chmod(folder.path("file").c_str(), 06777);
	chmod(folder.path().c_str(), 0777);
	const pid_t child = fork();
	if (child == 0)
		_exit(setgid(65534) == 0 && setuid(65534) == 0 ? write("file", "new") : 1);
	int ended = -1;
	waitpid(child, &ended, 0);
	EXPECT_EQ(ended, 0);
	EXPECT_EQ(status("file").st_uid, 65534u);
	EXPECT_EQ(status("file").st_mode & 07777, 0777u);
}

TEST_P(whole_file, leaves_what_others_call_unfinished)
{
	folder.write("file.part", "somebody's own");
	folder.write("victim", "precious");
	link("other.part", "victim");
	EXPECT_EQ(write("file", "new"), 0);
	EXPECT_EQ(write("other", "new"), 0);
	EXPECT_EQ(folder.content("file.part"), "somebody's own");
	EXPECT_EQ(folder.content("victim"), "precious");
	EXPECT_TRUE(S_ISLNK(status("other.part").st_mode));
}

TEST_P(whole_file, is_what_a_link_leads_to)
{
	folder.write("deep/target", "old");
	link("second", "deep/target");
	link("first", folder.path("second"));
	EXPECT_EQ(write("first", "new"), 0);
	EXPECT_TRUE(S_ISLNK(status("first").st_mode));
	EXPECT_TRUE(S_ISLNK(status("second").st_mode));
	EXPECT_EQ(folder.content("deep/target"), "new");

	link("dangling", "deep/made");
	EXPECT_EQ(write("dangling", "made"), 0);
	EXPECT_TRUE(S_ISLNK(status("dangling").st_mode));
	EXPECT_EQ(folder.content("deep/made"), "made");

	link("round", "round");
	EXPECT_EQ(write("round", "x"), ELOOP);
}

TEST_P(whole_file, does_not_follow_a_link_that_somebody_planted)
{
	if (geteuid() != 0)
		GTEST_SKIP() << "only root makes links of others";
	folder.write("shared/own", "");
	folder.write("victim", "precious");
	chmod(folder.path("shared").c_str(), 01777);
	link("shared/link", folder.path("victim"));
	EXPECT_EQ(lchown(folder.path("shared/link").c_str(), 1234, 1234), 0);
	EXPECT_EQ(write("shared/link", "new"), EACCES);
	EXPECT_EQ(folder.content("victim"), "precious");
	EXPECT_TRUE(S_ISLNK(status("shared/link").st_mode));

	EXPECT_EQ(lchown(folder.path("shared/link").c_str(), 0, 0), 0);
	EXPECT_EQ(write("shared/link", "new"), 0) << "the caller's own";
}

TEST_P(whole_file, that_may_not_be_written_is_not_replaced)
{
	folder.write("file", "old");
	chmod(folder.path("file").c_str(), 0444);
	chmod(folder.path().c_str(), 0777);
	const pid_t child = fork();
	if (child == 0) {
		if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
			_exit(1);
		_exit(write("file", "new") == EACCES ? 0 : 2);
	}
	int ended = -1;
	waitpid(child, &ended, 0);
	EXPECT_EQ(ended, 0);
	EXPECT_EQ(folder.content("file"), "old");
}

TEST_P(whole_file, in_no_folder_is_refused)
{
	EXPECT_EQ(write("none/file", "x"), ENOENT);
	EXPECT_EQ(write("", "x"), EISDIR);
	EXPECT_EQ(write(".", "x"), EISDIR);
	std::filesystem::create_directory(folder.path("inner"));
	EXPECT_EQ(write("inner", "x"), EISDIR);
	EXPECT_EQ(write("inner/", "x"), EISDIR);
	folder.write("file", "");
	EXPECT_EQ(write("file/x", "x"), ENOTDIR);
	EXPECT_EQ(error_of([] { tools::write_whole_file("", {}); }), ENOENT);
}

TEST_P(whole_file, that_cannot_be_stored_leaves_the_old_one_and_nothing_else)
{
	for (const char *const function : {"openat", "write", "fchmod", "fsync", "linkat", "renameat"}) {
		SCOPED_TRACE(function);
		folder.write("file", "old");
		g_planned = {function, ENOSPC};
		const int error = write("file", "new");
		const int hits = g_planned.hits;
		g_planned = {};
		if (GetParam() && std::string_view(function) == "linkat") {
			EXPECT_EQ(hits, 0) << "not needed there";
			continue;
		}
		EXPECT_GE(hits, 1);
		EXPECT_EQ(error, ENOSPC);
		EXPECT_EQ(folder.content("file"), "old");
		EXPECT_EQ(entries(), std::set<std::string>{"file"});
	}
}

TEST_P(whole_file, is_not_made_of_a_device)
{
	EXPECT_EQ(error_of([] { tools::write_whole_file("/dev/null", std::as_bytes(std::span("x"))); }), 0);
	struct stat told;
	ASSERT_EQ(stat("/dev/null", &told), 0);
	EXPECT_TRUE(S_ISCHR(told.st_mode));
	EXPECT_EQ(error_of([] { tools::write_whole_file("/dev/full", std::as_bytes(std::span("x"))); }), ENOSPC);
	link("null", "/dev/null");
	EXPECT_EQ(write("null", "x"), 0);
	EXPECT_TRUE(S_ISLNK(status("null").st_mode));
}

std::string all_of(int file)
{
	std::string text;
	char letters[256];
	for (ssize_t count; (count = read(file, letters, sizeof(letters))) > 0;)
		text.append(letters, static_cast<std::size_t>(count));
	close(file);
	return text;
}

TEST_P(whole_file, is_not_made_of_a_fifo)
{
	ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
	std::string taken;
	std::thread reader([&] { taken = all_of(open(folder.path("fifo").c_str(), O_RDONLY)); });
	EXPECT_EQ(write("fifo", "through"), 0);
	reader.join();
	EXPECT_EQ(taken, "through");
	EXPECT_TRUE(S_ISFIFO(status("fifo").st_mode));
}

TEST_P(whole_file, is_not_made_of_a_socket)
{
	const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
	sockaddr_un address = {AF_UNIX, {}};
	ASSERT_LT(folder.path("socket").copy(address.sun_path, sizeof(address.sun_path)), sizeof(address.sun_path));
	ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
	EXPECT_EQ(write("socket", "x"), ECONNREFUSED) << "nobody listens";
	ASSERT_EQ(listen(listener, 1), 0);
	EXPECT_EQ(write("socket", "through"), 0);
	EXPECT_EQ(all_of(accept(listener, nullptr, nullptr)), "through");
	EXPECT_TRUE(S_ISSOCK(status("socket").st_mode));
	close(listener);
}

// Standard output that goes to a file goes on behind what is there, by whichever name.
TEST_P(whole_file, is_not_made_of_a_stream)
{
	link("by_link", "/dev/stdout");
	for (const std::string &path :
	     {std::string("/dev/stdout"), std::string("/dev/fd/1"), std::string("/proc/self/fd/1"), folder.path("by_link")}) {
		SCOPED_TRACE(path);
		folder.write("out", "");
		const pid_t child = fork();
		if (child == 0) {
			const int out = open(folder.path("out").c_str(), O_WRONLY);
			dup2(out, STDOUT_FILENO);
			bool good = __real_write(STDOUT_FILENO, "head ", 5) == 5;
			good &= error_of([&] { tools::write_whole_file(path, std::as_bytes(std::span("body", 4))); }) == 0;
			good &= __real_write(STDOUT_FILENO, " tail", 5) == 5;
			_exit(good ? 0 : 1);
		}
		int ended = -1;
		waitpid(child, &ended, 0);
		EXPECT_EQ(ended, 0);
		EXPECT_EQ(folder.content("out"), "head body tail");
	}
	EXPECT_EQ(error_of([] { tools::write_whole_file("/dev/fd/999", std::as_bytes(std::span("x"))); }), EBADF);
}

INSTANTIATE_TEST_SUITE_P(all, whole_file, testing::Bool(), [](const auto &kind) { return kind.param ? "with_names" : "without_names"; });

} // namespace
