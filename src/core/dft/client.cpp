// The descriptor entries that kernels of the kernel library import
// (dft/client.h): thin forms of the public interface, with the node as the
// handle and statuses as the node's 32-bit values.
#include <cstdarg>
#include <cstring>

#include "dft/client.h"
#include "dft/descriptor.h"

namespace qor::core::dft {
namespace {

using qor::dfxi::status;
using i64 = std::int64_t;

status widen(int st) { return static_cast<status>(st); }

// Runs a public call on a handle variable of its own, and hands a new or
// cleared handle back only when the call succeeded.
template <class F>
status through_handle(dfxi_node** node, F call) {
  if (node == nullptr) return widen(QOR_DFT_NULL_ARGUMENT);
  qor_dft_handle h = handle_of(*node);
  const int st = call(&h);
  if (st == QOR_DFT_OK) *node = node_of(h);
  return widen(st);
}

template <class R>
constexpr i64 precision_code() {
  return sizeof(R) == sizeof(double) ? QOR_DFT_DOUBLE : QOR_DFT_SINGLE;
}

// Reads the data pointers the committed form takes and runs it.
status compute_variadic(dfxi_node* node, bool forward, va_list ap) {
  if (!valid(node)) return widen(QOR_DFT_INVALID_DESCRIPTOR);
  if (!committed(node)) return widen(QOR_DFT_NOT_COMMITTED);
  void* p[4] = {};
  const int count = data_pointers(node);
  for (int i = 0; i < count; ++i) p[i] = va_arg(ap, void*);
  return widen(compute_committed(handle_of(node), forward, p[0], p[1], p[2], p[3]));
}

// The fixed forms carry the precision in their name.
template <class R>
status compute_fixed(dfxi_node* node, bool forward, R* a, R* b, R* c, R* d) {
  if (!valid(node)) return widen(QOR_DFT_INVALID_DESCRIPTOR);
  if (!committed(node)) return widen(QOR_DFT_NOT_COMMITTED);
  if (node->precision != precision_code<R>()) return widen(QOR_DFT_WRONG_FORM);
  return widen(compute_committed(handle_of(node), forward, a, b, c, d));
}

template <class R>
status create_fixed(dfxi_node** out, R precision, i64 domain, i64 length) {
  if (precision != static_cast<R>(precision_code<R>())) return widen(QOR_DFT_BAD_VALUE);
  return through_handle(out, [&](qor_dft_handle* h) { return qor_dft_create_1d(h, precision_code<R>(), domain, length); });
}

}  // namespace
}  // namespace qor::core::dft

using namespace qor::core::dft;
using qor::dfxi::status;

status qor_dft_dfxicreatedescriptor_d_1d(dfxi_node** out, std::int64_t domain, std::int64_t length) {
  return through_handle(out, [&](qor_dft_handle* h) { return qor_dft_create_1d(h, QOR_DFT_DOUBLE, domain, length); });
}
status qor_dft_dfxicreatedescriptor_s_1d(dfxi_node** out, std::int64_t domain, std::int64_t length) {
  return through_handle(out, [&](qor_dft_handle* h) { return qor_dft_create_1d(h, QOR_DFT_SINGLE, domain, length); });
}
status qor_dft_dfxicreatedescriptor_d_md(dfxi_node** out, std::int64_t domain, std::int64_t rank,
                                         const std::int64_t* lengths) {
  return through_handle(out, [&](qor_dft_handle* h) { return qor_dft_create(h, QOR_DFT_DOUBLE, domain, rank, lengths); });
}
status qor_dft_dfxicreatedescriptor_s_md(dfxi_node** out, std::int64_t domain, std::int64_t rank,
                                         const std::int64_t* lengths) {
  return through_handle(out, [&](qor_dft_handle* h) { return qor_dft_create(h, QOR_DFT_SINGLE, domain, rank, lengths); });
}

status qor_dft_dfxisetvalue(dfxi_node* node, int param, ...) {
  va_list ap;
  va_start(ap, param);
  const int st = set_value(handle_of(node), param, ap);
  va_end(ap);
  return widen(st);
}

status qor_dft_dfxicommitdescriptor(dfxi_node* node) { return widen(qor_dft_commit(handle_of(node))); }

status qor_dft_dfxicomputeforward(dfxi_node* node, ...) {
  va_list ap;
  va_start(ap, node);
  const status st = compute_variadic(node, true, ap);
  va_end(ap);
  return st;
}

status qor_dft_dfxicomputebackward(dfxi_node* node, ...) {
  va_list ap;
  va_start(ap, node);
  const status st = compute_variadic(node, false, ap);
  va_end(ap);
  return st;
}

status qor_dft_dfxifreedescriptor(dfxi_node** node) { return through_handle(node, qor_dft_free); }

status qor_dft_dfxierrorclass(status st, status error_class) {
  if (st > INT32_MAX || error_class > INT32_MAX) return 0;
  return widen(qor_dft_error_class(static_cast<int>(st), static_cast<int>(error_class)));
}

status qor_dft_dfxi_create_descriptor_d_1d(dfxi_node** out, double precision, std::int64_t domain,
                                           std::int64_t length) {
  return create_fixed<double>(out, precision, domain, length);
}
status qor_dft_dfxi_create_descriptor_s_1d(dfxi_node** out, float precision, std::int64_t domain,
                                           std::int64_t length) {
  return create_fixed<float>(out, precision, domain, length);
}

status qor_dft_dfxi_set_value_intval(dfxi_node* node, int param, std::int64_t value) {
  return widen(qor_dft_set_value_int(handle_of(node), param, value));
}

status qor_dft_dfxi_commit_descriptor_external(dfxi_node* node) { return widen(qor_dft_commit(handle_of(node))); }

status qor_dft_dfxi_compute_forward_d(dfxi_node* node, double* a, double* b, double* c, double* d) {
  return compute_fixed<double>(node, true, a, b, c, d);
}
status qor_dft_dfxi_compute_forward_s(dfxi_node* node, float* a, float* b, float* c, float* d) {
  return compute_fixed<float>(node, true, a, b, c, d);
}
status qor_dft_dfxi_compute_backward_d(dfxi_node* node, double* a, double* b, double* c, double* d) {
  return compute_fixed<double>(node, false, a, b, c, d);
}
status qor_dft_dfxi_compute_backward_s(dfxi_node* node, float* a, float* b, float* c, float* d) {
  return compute_fixed<float>(node, false, a, b, c, d);
}

status qor_dft_dfxi_free_descriptor_external(dfxi_node** node) { return through_handle(node, qor_dft_free); }

// The whole buffer is written: the message, then zero bytes.
status qor_dft_dfxi_error_message_external(status st, char* text) {
  if (text == nullptr) return widen(QOR_DFT_NULL_ARGUMENT);
  const char* message = st > INT32_MAX ? qor_dft_error_message(-1) : qor_dft_error_message(static_cast<int>(st));
  const std::size_t n = strnlen(message, qor::dfxi::client::kMessageBytes - 1);
  std::memcpy(text, message, n);
  std::memset(text + n, 0, qor::dfxi::client::kMessageBytes - n);
  return widen(QOR_DFT_OK);
}
