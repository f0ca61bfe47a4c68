// The entries through which other kernels of the kernel library (trigonometric
// transforms, convolution) reach a transform descriptor. The core defines
// them over its public descriptor interface; kernels import them and never
// touch a node's fields. Both libraries include this header, so a signature
// cannot differ between the definition and its users.
//
// A handle is the node. Statuses are the public ones of qor/dft.h. Compute entries
// take as many data pointers as the committed placement and storage need,
// in the order of the public forms: (x) or (in, out) interleaved; (re, im)
// or (in re, in im, out re, out im) split. Unused trailing pointers may be
// anything.
#pragma once
#include <cstdint>

#include "dft/node/node.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_DFT_CLIENT_API extern "C" __attribute__((visibility("default")))
#else
#define QOR_DFT_CLIENT_API extern "C"
#endif

namespace qor::dfxi::client {

// Statuses are those of the node, as 32-bit unsigned values.
using qor::dfxi::status;

// ---- The variadic family, as the public interface ----
// One dimension of `length`, or `rank` dimensions, of the precision in the
// name; `domain` is 32 (complex) or 33 (real).
using create_1d_fn = status(dfxi_node** out, std::int64_t domain, std::int64_t length);
using create_md_fn = status(dfxi_node** out, std::int64_t domain, std::int64_t rank, const std::int64_t* lengths);
// The value has the parameter's type, as qor_dft_set_value reads it.
using set_value_fn = status(dfxi_node* node, int param, ...);
using node_fn = status(dfxi_node* node);
// The data pointers the committed form needs.
using compute_fn = status(dfxi_node* node, ...);
// Frees *node and clears it.
using free_fn = status(dfxi_node** node);
// 1 when `st` is the error `error_class`, else 0.
using error_class_fn = status(status st, status error_class);

// ---- The fixed-argument family ----
// The precision comes as the real value of its code (36.0 or 35.0f) and
// must match the name.
template <class R>
using create_fixed_1d_fn = status(dfxi_node** out, R precision, std::int64_t domain, std::int64_t length);
using set_int_fn = status(dfxi_node* node, int param, std::int64_t value);
// Four data pointers, of which the committed form uses the first one, two
// or four; R is the real type of the precision in the name.
template <class R>
using compute_fixed_fn = status(dfxi_node* node, R* a, R* b, R* c, R* d);
// Fills all of `text` (80 bytes): the message, then zero bytes.
inline constexpr int kMessageBytes = 80;
using error_message_fn = status(status st, char* text);

}  // namespace qor::dfxi::client

QOR_DFT_CLIENT_API qor::dfxi::client::create_1d_fn qor_dft_dfxicreatedescriptor_d_1d;
QOR_DFT_CLIENT_API qor::dfxi::client::create_1d_fn qor_dft_dfxicreatedescriptor_s_1d;
QOR_DFT_CLIENT_API qor::dfxi::client::create_md_fn qor_dft_dfxicreatedescriptor_d_md;
QOR_DFT_CLIENT_API qor::dfxi::client::create_md_fn qor_dft_dfxicreatedescriptor_s_md;
QOR_DFT_CLIENT_API qor::dfxi::client::set_value_fn qor_dft_dfxisetvalue;
QOR_DFT_CLIENT_API qor::dfxi::client::node_fn qor_dft_dfxicommitdescriptor;
QOR_DFT_CLIENT_API qor::dfxi::client::compute_fn qor_dft_dfxicomputeforward;
QOR_DFT_CLIENT_API qor::dfxi::client::compute_fn qor_dft_dfxicomputebackward;
QOR_DFT_CLIENT_API qor::dfxi::client::free_fn qor_dft_dfxifreedescriptor;
QOR_DFT_CLIENT_API qor::dfxi::client::error_class_fn qor_dft_dfxierrorclass;

QOR_DFT_CLIENT_API qor::dfxi::client::create_fixed_1d_fn<double> qor_dft_dfxi_create_descriptor_d_1d;
QOR_DFT_CLIENT_API qor::dfxi::client::create_fixed_1d_fn<float> qor_dft_dfxi_create_descriptor_s_1d;
QOR_DFT_CLIENT_API qor::dfxi::client::set_int_fn qor_dft_dfxi_set_value_intval;
QOR_DFT_CLIENT_API qor::dfxi::client::node_fn qor_dft_dfxi_commit_descriptor_external;
QOR_DFT_CLIENT_API qor::dfxi::client::compute_fixed_fn<double> qor_dft_dfxi_compute_forward_d;
QOR_DFT_CLIENT_API qor::dfxi::client::compute_fixed_fn<float> qor_dft_dfxi_compute_forward_s;
QOR_DFT_CLIENT_API qor::dfxi::client::compute_fixed_fn<double> qor_dft_dfxi_compute_backward_d;
QOR_DFT_CLIENT_API qor::dfxi::client::compute_fixed_fn<float> qor_dft_dfxi_compute_backward_s;
QOR_DFT_CLIENT_API qor::dfxi::client::free_fn qor_dft_dfxi_free_descriptor_external;
QOR_DFT_CLIENT_API qor::dfxi::client::error_message_fn qor_dft_dfxi_error_message_external;
