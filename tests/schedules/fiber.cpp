// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "fiber.hpp"

#include <sys/mman.h>
#include <ucontext.h>

#include <cstdlib>

#ifdef SCHEDULES_ADDRESS_SANITIZER
#include <dlfcn.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace schedules {

namespace {

constexpr std::size_t stack_size = 256 * 1024;
fiber *g_running;

using exchange = int(ucontext_t *, const ucontext_t *);

// The C library's own: the address sanitizer stands before it with a warning for those who do not tell it of their stacks.
exchange *own_swapcontext()
{
#ifdef SCHEDULES_ADDRESS_SANITIZER
	if (void *library = dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD))
		return reinterpret_cast<exchange *>(dlsym(library, "swapcontext"));
#endif
	return swapcontext;
}

exchange *const real_swapcontext = own_swapcontext();

// The address sanitizer is told of each change of stack.
class stack_change {
public:
	stack_change([[maybe_unused]] const void *bottom, [[maybe_unused]] std::size_t size)
	{
#ifdef SCHEDULES_ADDRESS_SANITIZER
		__sanitizer_start_switch_fiber(&fake_stack_, bottom, size);
#endif
	}
	void came_back()
	{
#ifdef SCHEDULES_ADDRESS_SANITIZER
		__sanitizer_finish_switch_fiber(fake_stack_, nullptr, nullptr);
#endif
	}
	static void arrived([[maybe_unused]] const void **bottom, [[maybe_unused]] std::size_t *size)
	{
#ifdef SCHEDULES_ADDRESS_SANITIZER
		__sanitizer_finish_switch_fiber(nullptr, bottom, size);
#endif
	}

private:
	[[maybe_unused]] void *fake_stack_ = nullptr;
};

} // namespace

struct fiber::context {
	ucontext_t own = {};
	ucontext_t resumer = {};
	void *stack = nullptr;
	const void *resumer_bottom = nullptr;
	std::size_t resumer_size = 0;
	std::function<void()> work;
	bool over = true;
	bool entered = false;

	// The fiber's life: one work after the other.
	static void run()
	{
		context &self = *g_running->context_;
		stack_change::arrived(&self.resumer_bottom, &self.resumer_size);
		for (;;) {
			self.work();
			self.over = true;
			pause();
		}
	}
};

fiber::fiber() : context_(std::make_unique<context>())
{
	context_->stack = mmap(nullptr, stack_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
	if (context_->stack == MAP_FAILED)
		std::abort();
	getcontext(&context_->own);
	context_->own.uc_stack.ss_sp = context_->stack;
	context_->own.uc_stack.ss_size = stack_size;
	context_->own.uc_link = nullptr;
	makecontext(&context_->own, &context::run, 0);
}

fiber::~fiber()
{
	munmap(context_->stack, stack_size);
}

void fiber::start(std::function<void()> work)
{
	if (!context_->over)
		std::abort();
	context_->work = std::move(work);
	context_->over = false;
}

void fiber::resume()
{
	g_running = this;
	stack_change change(context_->stack, stack_size);
	real_swapcontext(&context_->resumer, &context_->own);
	change.came_back();
	g_running = nullptr;
}

bool fiber::is_over() const
{
	return context_->over;
}

void fiber::pause()
{
	context &self = *g_running->context_;
	stack_change change(self.resumer_bottom, self.resumer_size);
	real_swapcontext(&self.own, &self.resumer);
	change.came_back();
}

fiber *fiber::running()
{
	return g_running;
}

} // namespace schedules
