// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Where faults are injected: the kernel's own fault points (allocations, copies from and to programs) of one task, and the switches of
// the reference platform.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace torture {

// The kernel's fault points apply to every allocation and copy from now on; without this most are passed over. Does not inject anything.
void enable_fault_points();

// One fault of an attempt. nth 0: this attempt gets no fault of the kernel's.
struct fault {
	uint32_t nth = 0;
	bool happened = false;
};

// Runs something in this thread, whose nth fault point fails; tells the fault whether it happened.
uint32_t with_fault(fault &one, const std::function<uint32_t()> &attempt);

// A function of the reference platform that fails on demand.
struct platform_switch {
	std::string module;
	std::string function;
};

// All but two, which are tried on the host alone: after drv_log_deregister has failed, the log that stays registered refuses the next load;
// after xml_get_element_value_u32 has, a flash keeps the default of a lock value, which the lock refuses, for as long as it is known.
const std::vector<platform_switch> &platform_switches();

// The nth call from now on, and with sticky all later ones, fails with a status of no service.
void arm(const platform_switch &one, uint32_t nth, bool sticky);
// Whether a switch that is not sticky has fired.
bool has_fired(const platform_switch &one);
void clear(const platform_switch &one);

} // namespace torture
