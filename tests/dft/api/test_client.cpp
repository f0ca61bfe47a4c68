// The descriptor entries other kernels import: the same rules as the
// public interface, the node as the handle, the precision carried by the
// fixed forms, and messages that fill their whole buffer.
#include "dft/api/api_test.h"
#include "dft/client.h"

namespace qor::test::dftapi {
namespace {

using node::Fake;
using node::FakeList;

TEST(DftClient, CreateSetCommitFree) {
  AllocWatch watch;
  dfxi_node* const sentinel = reinterpret_cast<dfxi_node*>(&watch);
  dfxi_node* n = sentinel;
  EXPECT_EQ(qor_dft_dfxi_create_descriptor_d_1d(&n, 35.0, QOR_DFT_COMPLEX, 8), std::uint32_t{QOR_DFT_BAD_VALUE});
  EXPECT_EQ(qor_dft_dfxi_create_descriptor_s_1d(&n, 36.0f, QOR_DFT_COMPLEX, 8), std::uint32_t{QOR_DFT_BAD_VALUE});
  EXPECT_EQ(qor_dft_dfxi_create_descriptor_d_1d(&n, 36.0, QOR_DFT_COMPLEX, 0), std::uint32_t{QOR_DFT_BAD_VALUE});
  EXPECT_EQ(qor_dft_dfxicreatedescriptor_d_1d(nullptr, QOR_DFT_COMPLEX, 8), std::uint32_t{QOR_DFT_NULL_ARGUMENT});
  EXPECT_EQ(n, sentinel);

  for (int form = 0; form < 4; ++form) {
    dfxi_node* d = nullptr;
    const std::int64_t lengths[1] = {12};
    const std::uint32_t st = form == 0   ? qor_dft_dfxi_create_descriptor_d_1d(&d, 36.0, QOR_DFT_COMPLEX, 12)
                             : form == 1 ? qor_dft_dfxi_create_descriptor_s_1d(&d, 35.0f, QOR_DFT_COMPLEX, 12)
                             : form == 2 ? qor_dft_dfxicreatedescriptor_s_1d(&d, QOR_DFT_COMPLEX, 12)
                                         : qor_dft_dfxicreatedescriptor_d_md(&d, QOR_DFT_COMPLEX, 1, lengths);
    ASSERT_EQ(st, 0u) << form;
    const qor_dft_handle h = reinterpret_cast<qor_dft_handle>(d);
    EXPECT_EQ(get_int(h, QOR_DFT_PRECISION), form == 1 || form == 2 ? QOR_DFT_SINGLE : QOR_DFT_DOUBLE);
    EXPECT_EQ(get_array(h, QOR_DFT_LENGTHS, 1)[0], 12);
    EXPECT_EQ(qor_dft_dfxi_set_value_intval(d, QOR_DFT_NUMBER_OF_TRANSFORMS, 2), 0u);
    EXPECT_EQ(qor_dft_dfxisetvalue(d, QOR_DFT_INPUT_DISTANCE, std::int64_t{12}), 0u);
    EXPECT_EQ(qor_dft_dfxisetvalue(d, QOR_DFT_FORWARD_SCALE, 0.25), 0u);
    EXPECT_EQ(qor_dft_dfxi_set_value_intval(d, QOR_DFT_FORWARD_SCALE, 1), std::uint32_t{QOR_DFT_BAD_PARAMETER});
    EXPECT_EQ(get_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS), 2);
    EXPECT_EQ(get_int(h, QOR_DFT_INPUT_DISTANCE), 12);
    EXPECT_EQ(get_double(h, QOR_DFT_FORWARD_SCALE), 0.25);
    const std::uint32_t fst = form % 2 ? qor_dft_dfxifreedescriptor(&d) : qor_dft_dfxi_free_descriptor_external(&d);
    EXPECT_EQ(fst, 0u);
    EXPECT_EQ(d, nullptr);
    EXPECT_EQ(qor_dft_dfxifreedescriptor(&d), std::uint32_t{QOR_DFT_INVALID_DESCRIPTOR});
  }
}

TEST(DftClient, ComputeForms) {
  Fake taker(0);
  FakeList list{&taker};
  for (bool dbl : {true, false}) {
    dfxi_node* d = nullptr;
    ASSERT_EQ(dbl ? qor_dft_dfxicreatedescriptor_d_1d(&d, QOR_DFT_COMPLEX, 8)
                  : qor_dft_dfxicreatedescriptor_s_1d(&d, QOR_DFT_COMPLEX, 8),
              0u);
    double xd[16] = {};
    float xs[16] = {};
    EXPECT_EQ(qor_dft_dfxicomputeforward(d, xd), std::uint32_t{QOR_DFT_NOT_COMMITTED});
    EXPECT_EQ(qor_dft_dfxi_compute_backward_d(d, xd, nullptr, nullptr, nullptr), std::uint32_t{QOR_DFT_NOT_COMMITTED});
    attach(reinterpret_cast<qor_dft_handle>(d), list);
    ASSERT_EQ(qor_dft_dfxi_set_value_intval(d, QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), 0u);
    ASSERT_EQ(qor_dft_dfxi_set_value_intval(d, QOR_DFT_COMPLEX_STORAGE, QOR_DFT_REAL_REAL), 0u);
    ASSERT_EQ(dbl ? qor_dft_dfxicommitdescriptor(d) : qor_dft_dfxi_commit_descriptor_external(d), 0u);
    // Split out of place: four pointers, each of them required.
    void* p[4] = {xd, xd + 8, xs, xs + 8};
    EXPECT_EQ(qor_dft_dfxicomputeforward(d, p[0], p[1], p[2], p[3]), 0u);
    EXPECT_EQ(qor_dft_dfxicomputebackward(d, p[0], p[1], nullptr, p[3]), std::uint32_t{QOR_DFT_NULL_ARGUMENT});
    if (dbl) {
      EXPECT_EQ(qor_dft_dfxi_compute_forward_d(d, xd, xd + 4, xd + 8, xd + 12), 0u);
      EXPECT_EQ(qor_dft_dfxi_compute_backward_d(d, xd, xd + 4, xd + 8, xd + 12), 0u);
      EXPECT_EQ(qor_dft_dfxi_compute_forward_s(d, xs, xs + 4, xs + 8, xs + 12), std::uint32_t{QOR_DFT_WRONG_FORM});
    } else {
      EXPECT_EQ(qor_dft_dfxi_compute_forward_s(d, xs, xs + 4, xs + 8, xs + 12), 0u);
      EXPECT_EQ(qor_dft_dfxi_compute_backward_s(d, xs, nullptr, xs + 8, xs + 12), std::uint32_t{QOR_DFT_NULL_ARGUMENT});
      EXPECT_EQ(qor_dft_dfxi_compute_backward_d(d, xd, xd + 4, xd + 8, xd + 12), std::uint32_t{QOR_DFT_WRONG_FORM});
    }
    EXPECT_EQ(qor_dft_dfxi_compute_forward_d(nullptr, xd, xd, xd, xd), std::uint32_t{QOR_DFT_INVALID_DESCRIPTOR});
    EXPECT_EQ(qor_dft_dfxicomputeforward(nullptr, xd), std::uint32_t{QOR_DFT_INVALID_DESCRIPTOR});
    EXPECT_EQ(qor_dft_dfxifreedescriptor(&d), 0u);
  }
}

TEST(DftClient, StatusesAsText) {
  for (std::uint32_t st : {0u, 1u, 2u, 3u, 4u, 7u, 8u, 10u, 11u, 12u, 0xffffffffu}) {
    char text[qor::dfxi::client::kMessageBytes + 8];
    std::memset(text, 0x7f, sizeof text);
    ASSERT_EQ(qor_dft_dfxi_error_message_external(st, text), 0u);
    const std::size_t len = strnlen(text, qor::dfxi::client::kMessageBytes);
    ASSERT_LT(len, std::size_t{qor::dfxi::client::kMessageBytes});
    EXPECT_GT(len, 0u);
    if (st <= 12) {
      EXPECT_STREQ(text, qor_dft_error_message(static_cast<int>(st)));
    }
    for (std::size_t i = len; i < qor::dfxi::client::kMessageBytes; ++i) ASSERT_EQ(text[i], 0) << i;
    for (std::size_t i = qor::dfxi::client::kMessageBytes; i < sizeof text; ++i) ASSERT_EQ(text[i], 0x7f) << i;
    const std::uint32_t cls = st <= INT32_MAX ? static_cast<std::uint32_t>(qor_dft_error_class(int(st), int(st))) : 0u;
    EXPECT_EQ(qor_dft_dfxierrorclass(st, st), cls);
  }
  EXPECT_EQ(qor_dft_dfxi_error_message_external(0, nullptr), std::uint32_t{QOR_DFT_NULL_ARGUMENT});
  EXPECT_EQ(qor_dft_dfxierrorclass(QOR_DFT_NO_MEMORY, QOR_DFT_NO_MEMORY), 1u);
  EXPECT_EQ(qor_dft_dfxierrorclass(QOR_DFT_NO_MEMORY, QOR_DFT_BAD_VALUE), 0u);
}

}  // namespace
}  // namespace qor::test::dftapi
