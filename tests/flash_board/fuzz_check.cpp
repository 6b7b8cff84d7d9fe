// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A fuzzer for libFuzzer:
//   CC=clang CXX=clang++ cmake -B build/fuzz -DFLASH_BOARD_FUZZ=ON -DFLASH_MNG_SANITIZERS=address,undefined
//   cmake --build build/fuzz --target flash_board_fuzz
//   build/fuzz/tests/flash_board/flash_board_fuzz -max_total_time=60 CORPUS tests/flash_board/bad tests/flash_board/good
#include <cstddef>
#include <cstdint>

#include "fuzz_input.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	try_text({reinterpret_cast<const char *>(data), size});
	return 0;
}
