# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Reads a console of the board and prints what the kernel reported: memory errors, lock errors, leaks, warnings, oopses.
#
# A test that causes a report on purpose says so in the kernel log (/dev/kmsg): a line "flash_mng_test: allow TEXT" before, a line
# "flash_mng_test: end" after. In between, reports that contain TEXT are expected. Several "allow" lines add up until the "end".

/flash_mng_test: allow / {
	text = $0
	sub(/.*flash_mng_test: allow /, "", text)
	sub(/\r$/, "", text)
	if (length(text) >= 8)
		allowed[++allowed_count] = text
	next
}
/flash_mng_test: end/ {
	allowed_count = 0
	next
}
/BUG:|BUG [^ ]+ \(|WARNING:|KASAN|UBSAN:|ODEBUG:|Oops|Kernel panic|Unable to handle|Internal error/ ||
/INFO: possible|possible circular|possible recursive|inconsistent lock state|bad unlock balance|held lock freed/ ||
/suspicious RCU usage|sleeping function|scheduling while atomic|blocked for more than|rcu: INFO|irq .*nobody cared/ ||
/unreferenced object|new suspected memory leaks|list_(add|del) corruption|refcount_t:|allocation failure|stack-protector/ ||
/[Uu]sercopy: Kernel memory|kernel BUG at|general protection fault|invalid opcode|double fault|divide error|LOCKUP/ {
	# Announcements at start that use the words without reporting anything.
	if (/KernelAddressSanitizer initialized|kasan: |lockdep: |Memory: /)
		next
	for (i = 1; i <= allowed_count; i++)
		if (index($0, allowed[i]))
			next
	print NR ": " $0
}
