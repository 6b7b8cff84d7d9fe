// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "transfer_paths.hpp"

namespace torture {

namespace {

class commands final : public transfer_path {
public:
	std::string name() const override { return "commands, " + partition; }

	uint32_t read(const flash_mng_access &access, uint32_t offset, bytes &data) const override
	{
		return access.transfer(FLASH_MNG_MTD_READ, partition, offset, data.data(), data.size());
	}

	uint32_t write(const flash_mng_access &access, uint32_t offset, const bytes &data) const override
	{
		return access.transfer(FLASH_MNG_MTD_WRITE, partition, offset, data.data(), data.size());
	}
};

class exports final : public transfer_path {
public:
	explicit exports(bool block_device) : block_device_(block_device) {}

	std::string name() const override { return "exports, " + partition; }
	bool whole() const override { return !block_device_; }

	uint32_t read(const flash_mng_access &access, uint32_t offset, bytes &data) const override
	{
		return export_call(FLASH_CALL_drv_flash_mtd_read)
			.text(partition.c_str())
			.value(offset)
			.memory(data.data(), data.size())
			.value(data.size())
			.make(access);
	}

	uint32_t write(const flash_mng_access &access, uint32_t offset, const bytes &data) const override
	{
		return export_call(FLASH_CALL_drv_flash_mtd_write)
			.text(partition.c_str())
			.value(offset)
			.memory_in(data.data(), data.size())
			.value(data.size())
			.make(access);
	}

private:
	bool block_device_;
};

class section final : public transfer_path {
public:
	section(uint32_t id, uint32_t address) : id_(id), address_(address) {}

	std::string name() const override { return "section " + std::to_string(id_) + ", " + partition; }

	uint32_t read(const flash_mng_access &access, uint32_t offset, bytes &data) const override
	{
		return export_call(FLASH_CALL_drv_flash_read)
			.value(default_instance)
			.value(id_)
			.value(address_ + offset)
			.memory(data.data(), data.size())
			.value(data.size())
			.make(access);
	}

	uint32_t write(const flash_mng_access &access, uint32_t offset, const bytes &data) const override
	{
		return export_call(FLASH_CALL_drv_flash_write)
			.value(default_instance)
			.value(id_)
			.value(address_ + offset)
			.memory_in(data.data(), data.size())
			.value(data.size())
			.make(access);
	}

private:
	static constexpr uint32_t default_instance = 0xffffffff;

	uint32_t id_;
	uint32_t address_; // that the board's XML gives to the first byte
};

template <typename kind, typename... arguments>
void add(std::vector<std::unique_ptr<transfer_path>> &paths, const char *partition, uint32_t first_slot, uint32_t slots, arguments... given)
{
	auto &added = paths.emplace_back(std::make_unique<kind>(given...));
	added->partition = partition;
	added->first_slot = first_slot;
	added->slots = slots;
}

} // namespace

std::vector<std::unique_ptr<transfer_path>> all_transfer_paths()
{
	std::vector<std::unique_ptr<transfer_path>> paths;
	add<commands>(paths, "usrdata", 0, 3);
	add<exports>(paths, "config", 0, 2, false);
	add<exports>(paths, "boot", 0, 2, false);
	add<exports>(paths, "ram0", 0, 2, true);
	add<section>(paths, "ram0", 2, 3, 1u, 0u);
	add<section>(paths, "rootfs", 0, 1, 2u, 0xd00000u);
	return paths;
}

} // namespace torture
