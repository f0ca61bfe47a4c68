// Helpers of the descriptor interface tests: descriptors that free
// themselves, value readers, a stand-in backend for the rules of committed
// descriptors, and the step that skips a compute test while no backend
// takes the descriptor.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/testing.h"
#include "dft/node/node_test.h"
#include "qor/dft.h"

namespace qor::test::dftapi {

// A descriptor freed at the end of the scope.
class Desc {
 public:
  Desc() = default;
  explicit Desc(qor_dft_handle h) : h_(h) {}
  ~Desc() { reset(); }
  Desc(const Desc&) = delete;
  Desc& operator=(const Desc&) = delete;
  void reset(qor_dft_handle h = nullptr) {
    if (h_ != nullptr) {
      EXPECT_EQ(qor_dft_free(&h_), QOR_DFT_OK);
    }
    h_ = h;
  }
  qor_dft_handle get() const { return h_; }
  qor_dft_handle* out() { return &h_; }

 private:
  qor_dft_handle h_ = nullptr;
};

// A handle value no descriptor has, to see that failing calls leave a
// caller's handle alone.
inline qor_dft_handle sentinel_handle() {
  static char marker;
  return reinterpret_cast<qor_dft_handle>(&marker);
}

inline qor_dft_handle make_1d(std::int64_t precision, std::int64_t length) {
  qor_dft_handle h = nullptr;
  EXPECT_EQ(qor_dft_create_1d(&h, precision, QOR_DFT_COMPLEX, length), QOR_DFT_OK);
  return h;
}

inline qor_dft_handle make(std::int64_t precision, std::int64_t domain, std::vector<std::int64_t> lengths) {
  qor_dft_handle h = nullptr;
  EXPECT_EQ(qor_dft_create(&h, precision, domain, static_cast<std::int64_t>(lengths.size()), lengths.data()),
            QOR_DFT_OK);
  return h;
}

inline std::int64_t get_int(qor_dft_handle h, int param) {
  std::int64_t v = -12345;
  EXPECT_EQ(qor_dft_get_value_int(h, param, &v), QOR_DFT_OK) << "parameter " << param;
  return v;
}

inline double get_double(qor_dft_handle h, int param) {
  double v = -12345;
  EXPECT_EQ(qor_dft_get_value_double(h, param, &v), QOR_DFT_OK) << "parameter " << param;
  return v;
}

inline std::vector<std::int64_t> get_array(qor_dft_handle h, int param, std::size_t count) {
  std::vector<std::int64_t> v(count, -12345);
  EXPECT_EQ(qor_dft_get_value_array(h, param, v.data()), QOR_DFT_OK) << "parameter " << param;
  return v;
}

inline std::string get_name(qor_dft_handle h) {
  char name[QOR_DFT_NAME_LENGTH + 1];
  std::memset(name, 'x', sizeof name);
  EXPECT_EQ(qor_dft_get_value_text(h, QOR_DFT_DESCRIPTOR_NAME, name), QOR_DFT_OK);
  return std::string(name, strnlen(name, sizeof name));
}

inline bool is_committed(qor_dft_handle h) { return get_int(h, QOR_DFT_COMMIT_STATUS) == QOR_DFT_COMMITTED; }

// Gives a descriptor a stand-in backend that takes every node and whose
// transforms do nothing, so that what the front end does around a commit
// can be tested without the real backends. The list must outlive the
// descriptor and its copies.
inline void attach(qor_dft_handle h, const node::FakeList& list) {
  reinterpret_cast<dfxi_node*>(h)->bkdown_list = list.get();
}

// Every status the interface may return.
inline bool known_status(int st) {
  switch (st) {
    case QOR_DFT_OK:
    case QOR_DFT_NO_MEMORY:
    case QOR_DFT_INVALID_DESCRIPTOR:
    case QOR_DFT_BAD_VALUE:
    case QOR_DFT_BAD_PARAMETER:
    case QOR_DFT_BAD_FORMAT:
    case QOR_DFT_UNSUPPORTED:
    case QOR_DFT_NOT_COMMITTED:
    case QOR_DFT_LENGTH_LIMIT:
    case QOR_DFT_NULL_ARGUMENT:
    case QOR_DFT_WRONG_FORM: return true;
    default: return false;
  }
}

}  // namespace qor::test::dftapi

// Commits. While no backend takes the descriptor (commit reports it
// unsupported and leaves it uncommitted) the test is skipped, so that it
// runs as soon as the backends are there; any other failure fails.
#define QOR_COMMIT_OR_SKIP(h)                                                                            \
  do {                                                                                                   \
    const int commit_status_ = qor_dft_commit(h);                                                        \
    if (commit_status_ == QOR_DFT_UNSUPPORTED && !::qor::test::dftapi::is_committed(h))                  \
      GTEST_SKIP() << "no backend took the descriptor yet: commit gave " << commit_status_ << " ("       \
                   << qor_dft_error_message(commit_status_) << ")";                                      \
    ASSERT_EQ(commit_status_, QOR_DFT_OK) << qor_dft_error_message(commit_status_);                      \
    ASSERT_TRUE(::qor::test::dftapi::is_committed(h));                                                   \
  } while (0)
