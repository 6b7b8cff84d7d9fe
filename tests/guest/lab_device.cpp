// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "lab_device.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/klog.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace guest {

namespace {

[[noreturn]] void throw_error(const std::string &what, int error)
{
	throw std::runtime_error(what + ": " + std::strerror(error));
}

class open_file {
public:
	open_file(const std::string &path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0644))
	{
		if (descriptor_ < 0)
			throw_error(path, errno);
	}
	~open_file() { close(descriptor_); }
	open_file(const open_file &) = delete;
	open_file &operator=(const open_file &) = delete;

	int descriptor() const { return descriptor_; }

private:
	int descriptor_;
};

} // namespace

int lab_file()
{
	static const int file = open("/dev/flash_lab", O_RDWR | O_CLOEXEC);
	if (file < 0)
		throw std::runtime_error("/dev/flash_lab cannot be opened: load flash_lab.ko before flash_mng, and run as root");
	return file;
}

int try_lab(unsigned long command, void *record)
{
	return ::ioctl(lab_file(), command, record) == 0 ? 0 : errno;
}

void lab(unsigned long command, void *record, std::string_view what)
{
	if (const int error = try_lab(command, record))
		throw_error("flash_lab: " + std::string(what), error);
}

void set_name(char (&field)[LAB_NAME_SIZE], std::string_view name)
{
	if (name.size() >= sizeof(field))
		throw std::runtime_error("name too long for flash_lab: " + std::string(name));
	std::memset(field, 0, sizeof(field));
	std::memcpy(field, name.data(), name.size());
}

lab_status status()
{
	lab_status record = {};
	lab(LAB_STATUS, &record, "status");
	return record;
}

std::string read_file(const std::string &path)
{
	const open_file file(path, O_RDONLY);
	std::string text;
	char part[65536];
	for (;;) {
		const ssize_t count = read(file.descriptor(), part, sizeof(part));
		if (count < 0)
			throw_error(path, errno);
		if (count == 0)
			return text;
		text.append(part, static_cast<std::size_t>(count));
	}
}

void write_file(const std::string &path, std::string_view text)
{
	const open_file file(path, O_WRONLY);
	if (write(file.descriptor(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
		throw_error(path + ", writing \"" + std::string(text) + "\"", errno);
}

bool file_exists(const std::string &path)
{
	struct stat status;
	return stat(path.c_str(), &status) == 0;
}

std::string module_file(std::string_view name)
{
	const char *folder = std::getenv("FLASH_MNG_MODULES");
	return std::string(folder ? folder : "/lib/modules") + "/" + std::string(name) + ".ko";
}

int insert_module(const std::string &path, const std::string &parameters)
{
	const open_file file(path, O_RDONLY);
	return syscall(SYS_finit_module, file.descriptor(), parameters.c_str(), 0) == -1 ? errno : 0;
}

int remove_module(const std::string &name)
{
	return syscall(SYS_delete_module, name.c_str(), O_NONBLOCK) == -1 ? errno : 0;
}

int remove_module_patiently(const std::string &name)
{
	int error = 0;
	for (int attempt = 0; attempt < 6000; ++attempt) {
		error = remove_module(name);
		if (error != EBUSY && error != EWOULDBLOCK)
			return error;
		usleep(10000);
	}
	return error;
}

std::string kernel_messages(std::string_view text)
{
	std::string all(1 << 18, '\0'), found, line;
	const int read_all = 3;
	const int length = klogctl(read_all, all.data(), static_cast<int>(all.size()));

	std::istringstream lines(all.substr(0, length < 0 ? 0 : static_cast<std::size_t>(length)));
	while (std::getline(lines, line)) {
		if (line.find(text) != std::string::npos)
			found += line + "\n";
	}
	return found;
}

} // namespace guest
