// Every Fortran name that takes character arguments, called the way a C
// program calls it: no hidden lengths after the arguments. The callee must
// leave alone the two words above the last argument, which belong to the
// caller, whichever path it takes.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <algorithm>
#include <string>
#include <vector>

#include "common/testing.h"
#include "qor/qor.h"

extern "C" long qor_test_guarded_call(void* fn, const void* const* args, long nargs, unsigned long* guard);

namespace {

struct Routine {
  const char* name;     // without the type letter
  const char* types;
  const char* letters;  // the leading character arguments: valid ones
  int nargs;            // the reference interface's count, lengths not counted
};

constexpr Routine kRoutines[] = {
    {"gemv", "sdcz", "N", 11},    {"gbmv", "sdcz", "N", 13},    {"trmv", "sdcz", "LNN", 8},
    {"trsv", "sdcz", "LNN", 8},   {"tbmv", "sdcz", "LNN", 9},   {"tbsv", "sdcz", "LNN", 9},
    {"tpmv", "sdcz", "LNN", 7},   {"tpsv", "sdcz", "LNN", 7},   {"symv", "sd", "L", 10},
    {"sbmv", "sd", "L", 11},      {"spmv", "sd", "L", 9},       {"syr", "sd", "L", 7},
    {"spr", "sd", "L", 6},        {"syr2", "sd", "L", 9},       {"spr2", "sd", "L", 8},
    {"hemv", "cz", "L", 10},      {"hbmv", "cz", "L", 11},      {"hpmv", "cz", "L", 9},
    {"her", "cz", "L", 7},        {"hpr", "cz", "L", 6},        {"her2", "cz", "L", 9},
    {"hpr2", "cz", "L", 8},       {"gemm", "sdcz", "NN", 13},   {"symm", "sdcz", "LL", 12},
    {"syrk", "sdcz", "LN", 10},   {"syr2k", "sdcz", "LN", 12},  {"trmm", "sdcz", "LLNN", 11},
    {"trsm", "sdcz", "LLNN", 11}, {"gemmt", "sdcz", "LNN", 13}, {"hemm", "cz", "LL", 12},
    {"herk", "cz", "LN", 10},     {"her2k", "cz", "LN", 12},    {"gemm3m", "cz", "NN", 13},
    {"scgemm", "-", "NN", 13},    {"dzgemm", "-", "NN", 13},
    // Group and batch counts of 0: the letter arrays are never read.
    {"gemm_batch", "sdcz", "", 15}, {"gemm_batch_strided", "sdcz", "", 17},
};

// Every other argument points at one buffer that reads as the dimension,
// leading dimension, increment or count 40 in either integer width, and as
// tiny scalars and matrix elements; it is large enough for every operand.
// The calls run through their checks into the kernels, where a callee
// that reuses its argument slots would show.
constexpr std::int64_t kDim = 40;

TEST(FortranFrames, NoWritesAboveTheArguments) {
  qor::test::MessageCapture messages;  // the band calls are refused (lda < 2 k + 1)
  static const char* const letter[] = {"N", "L"};
  std::vector<std::pair<std::string, const Routine*>> calls;
  for (const char* suffix : {"_", "_64_"})
    for (const Routine& r : kRoutines) {
      if (r.types[0] == '-') {
        calls.emplace_back(std::string(r.name) + suffix, &r);
        continue;
      }
      for (const char* t = r.types; *t != '\0'; ++t) calls.emplace_back(std::string(1, *t) + r.name + suffix, &r);
    }

  std::vector<std::int64_t> buffer(kDim * kDim * 2 * 4);
  for (const auto& [name, r] : calls) {
    void* fn = dlsym(RTLD_DEFAULT, name.c_str());
    ASSERT_NE(fn, nullptr) << name << " is missing";
    const bool batch = name.find("batch") != std::string::npos;
    std::fill(buffer.begin(), buffer.end(), 0);
    buffer[0] = batch ? 0 : kDim;
    const void* args[20];
    int i = 0;
    for (const char* l = r->letters; *l != '\0'; ++l) args[i++] = letter[*l == 'L'];
    while (i < 20) args[i++] = buffer.data();
    unsigned long guard[2] = {0x5a5a5a5a12345678ul, 0xa5a5a5a587654321ul};
    qor_test_guarded_call(fn, args, r->nargs, guard);
    EXPECT_EQ(guard[0], 0x5a5a5a5a12345678ul) << name << " wrote where a first length would be";
    EXPECT_EQ(guard[1], 0xa5a5a5a587654321ul) << name << " wrote where a second length would be";
  }
}

}  // namespace
