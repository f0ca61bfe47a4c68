// Setting and reading the values of a public transform descriptor.
//
// Each parameter has one type and may be read-only; the variadic entries
// read their argument by that type, the typed entries accept only it. A set
// that changes something the plan depends on uncommits the node first, and
// a set of the value already there changes nothing: the methods table
// uncommits on some changes and not on others, so the front end compares
// before it calls.
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "dft/descriptor.h"
#include "dft/node/api.h"
#include "frame/member.h"
#include "frame/trace.h"

namespace qor::core::dft {
namespace {

namespace x = qor::dfxi;
using i64 = std::int64_t;

enum class Type { none, integer, real, array, text };

struct Param {
  Type type;
  bool writable;
};

Param param_of(int param) {
  switch (param) {
    case QOR_DFT_FORWARD_DOMAIN:
    case QOR_DFT_PRECISION:
    case QOR_DFT_RANK:
    case QOR_DFT_COMMIT_STATUS: return {Type::integer, false};
    case QOR_DFT_LENGTHS: return {Type::array, false};
    case QOR_DFT_VERSION: return {Type::text, false};
    case QOR_DFT_FORWARD_SCALE:
    case QOR_DFT_BACKWARD_SCALE: return {Type::real, true};
    case QOR_DFT_INPUT_STRIDES:
    case QOR_DFT_OUTPUT_STRIDES:
    case QOR_DFT_FORWARD_STRIDES:
    case QOR_DFT_BACKWARD_STRIDES: return {Type::array, true};
    case QOR_DFT_DESCRIPTOR_NAME: return {Type::text, true};
    case QOR_DFT_NUMBER_OF_TRANSFORMS:
    case QOR_DFT_COMPLEX_STORAGE:
    case QOR_DFT_REAL_STORAGE:
    case QOR_DFT_PLACEMENT:
    case QOR_DFT_CONJUGATE_EVEN_STORAGE:
    case QOR_DFT_INPUT_DISTANCE:
    case QOR_DFT_OUTPUT_DISTANCE:
    case QOR_DFT_FORWARD_DISTANCE:
    case QOR_DFT_BACKWARD_DISTANCE:
    case QOR_DFT_ORDERING:
    case QOR_DFT_TRANSPOSE:
    case QOR_DFT_PACKED_FORMAT:
    case QOR_DFT_WORKSPACE:
    case QOR_DFT_DESTROY_INPUT:
    case QOR_DFT_THREAD_LIMIT: return {Type::integer, true};
    default: return {Type::none, false};
  }
}

// The handle, then the parameter (known, of this type, writable when set).
int check(qor_dft_handle h, int param, Type type, bool set) {
  if (!valid(node_of(h))) return QOR_DFT_INVALID_DESCRIPTOR;
  const Param p = param_of(param);
  if (p.type == Type::none || p.type != type || (set && !p.writable)) return QOR_DFT_BAD_PARAMETER;
  return QOR_DFT_OK;
}

// ---- Setting ----

// Stores a 32-bit word of the node, uncommitting when it changes.
int store(dfxi_node* n, std::int32_t& word, i64 value) {
  if (word != value) {
    n->uncommit(n);
    word = static_cast<std::int32_t>(value);
  }
  return QOR_DFT_OK;
}

bool one_of(i64 v, std::initializer_list<i64> allowed) {
  for (i64 a : allowed)
    if (v == a) return true;
  return false;
}

// Stores an enumerated word after checking it against its values.
int store_choice(dfxi_node* n, std::int32_t& word, i64 value, std::initializer_list<i64> allowed) {
  return one_of(value, allowed) ? store(n, word, value) : QOR_DFT_BAD_VALUE;
}

using DistanceSetter = x::status (*)(dfxi_node*, i64);

// Distances do not uncommit in the node; a new one changes the plan here.
int set_distance(dfxi_node* n, i64 IotensorEntry::*word, DistanceSetter setter, i64 value) {
  if (n->batch.dims[0].*word == value) return QOR_DFT_OK;
  n->uncommit(n);
  return static_cast<int>(setter(n, value));
}

int set_int(dfxi_node* n, int param, i64 v) {
  const dfxi_methods& m = *n->methods;
  switch (param) {
    case QOR_DFT_NUMBER_OF_TRANSFORMS:
      if (v < 1) return QOR_DFT_BAD_VALUE;
      if (n->batch.dims[0].n == v) return QOR_DFT_OK;
      n->uncommit(n);
      return static_cast<int>(m.setNumberOfTransforms(n, v));
    case QOR_DFT_COMPLEX_STORAGE:
      return store_choice(n, n->complex_storage, v, {x::kStorageComplexComplex, x::kStorageRealReal});
    case QOR_DFT_REAL_STORAGE: return store_choice(n, n->real_storage, v, {x::kStorageRealReal});
    case QOR_DFT_CONJUGATE_EVEN_STORAGE:
      return store_choice(n, n->conjugate_even_storage, v, {x::kStorageComplexComplex, x::kStorageComplexReal});
    case QOR_DFT_PLACEMENT: return store_choice(n, n->placement, v, {x::kInPlace, QOR_DFT_NOT_INPLACE});
    case QOR_DFT_INPUT_DISTANCE: return set_distance(n, &IotensorEntry::is, m.setInputDistance, v);
    case QOR_DFT_OUTPUT_DISTANCE: return set_distance(n, &IotensorEntry::os, m.setOutputDistance, v);
    case QOR_DFT_FORWARD_DISTANCE: return set_distance(n, &IotensorEntry::fs, m.setFwdDistance, v);
    case QOR_DFT_BACKWARD_DISTANCE: return set_distance(n, &IotensorEntry::bs, m.setBwdDistance, v);
    case QOR_DFT_ORDERING: return store_choice(n, n->ordering, v, {x::kOrdered});
    case QOR_DFT_TRANSPOSE: return store_choice(n, n->transpose, v, {QOR_DFT_NONE});
    case QOR_DFT_PACKED_FORMAT:
      return store_choice(n, n->packed_format, v,
                          {x::kFormatCcs, x::kFormatPack, x::kFormatPerm, x::kFormatConjugateEven});
    case QOR_DFT_WORKSPACE: {
      if (!one_of(v, {x::kWorkspaceAllow, x::kWorkspaceAvoid, x::kWorkspaceNone})) return QOR_DFT_BAD_VALUE;
      store(n, n->workspace, v);
      return static_cast<int>(m.setWorkspace(n, static_cast<std::int32_t>(v)));
    }
    case QOR_DFT_DESTROY_INPUT: {
      if (!one_of(v, {QOR_DFT_ALLOW, QOR_DFT_NONE})) return QOR_DFT_BAD_VALUE;
      const std::int32_t options = v == QOR_DFT_ALLOW ? (n->options | x::kOptionDestroyInput)
                                                      : (n->options & ~x::kOptionDestroyInput);
      return store(n, n->options, options);
    }
    case QOR_DFT_THREAD_LIMIT:
      if (v < 0 || v > INT32_MAX) return QOR_DFT_BAD_VALUE;
      if (n->thread_limit == v) return QOR_DFT_OK;
      n->uncommit(n);
      return static_cast<int>(m.setThreadLimit(n, static_cast<std::int32_t>(v)));
    default: return QOR_DFT_BAD_PARAMETER;
  }
}

int set_real(dfxi_node* n, int param, double v) {
  // The node's own rule: only a value that differs uncommits.
  const std::int32_t which = param == QOR_DFT_FORWARD_SCALE ? x::kScaleForward : x::kScaleBackward;
  return static_cast<int>(n->methods->setScale(n, which, v));
}

// Stride arrays: offset, then one stride a dimension.
int set_array(dfxi_node* n, int param, const i64* v) {
  if (v == nullptr) return QOR_DFT_NULL_ARGUMENT;
  i64 offset;
  i64 IotensorEntry::*word;
  x::status (*setter)(dfxi_node*, const i64*);
  switch (param) {
    case QOR_DFT_INPUT_STRIDES: offset = n->offset_in, word = &IotensorEntry::is, setter = n->methods->setInputStrides; break;
    case QOR_DFT_OUTPUT_STRIDES: offset = n->offset_out, word = &IotensorEntry::os, setter = n->methods->setOutputStrides; break;
    case QOR_DFT_FORWARD_STRIDES: offset = n->fwd_offset, word = &IotensorEntry::fs, setter = n->methods->setFwdStrides; break;
    default: offset = n->bwd_offset, word = &IotensorEntry::bs, setter = n->methods->setBwdStrides; break;
  }
  bool same = offset == v[0];
  for (std::int32_t i = 0; same && i < n->tensor.count; ++i) same = n->tensor.dims[i].*word == v[i + 1];
  if (same) return QOR_DFT_OK;
  return static_cast<int>(setter(n, v));  // uncommits
}

// The name is not part of the plan. Longer names keep their first bytes.
int set_text(dfxi_node* n, const char* text) {
  if (text == nullptr) return QOR_DFT_NULL_ARGUMENT;
  const std::size_t size = strnlen(text, QOR_DFT_NAME_LENGTH);
  return static_cast<int>(n->methods->setDescriptorName(n, text, static_cast<i64>(size), 0));
}

// ---- Reading ----

int get_int(const dfxi_node* n, int param, i64* out) {
  if (out == nullptr) return QOR_DFT_NULL_ARGUMENT;
  const dfxi_methods& m = *n->methods;
  const IotensorEntry& b = n->batch.dims[0];
  i64 v = 0;
  switch (param) {
    case QOR_DFT_FORWARD_DOMAIN: v = n->forward_domain; break;
    case QOR_DFT_PRECISION: v = n->precision; break;
    case QOR_DFT_RANK: v = n->tensor.count; break;
    case QOR_DFT_COMMIT_STATUS: v = committed(n) ? x::kCommitted : x::kUncommitted; break;
    case QOR_DFT_NUMBER_OF_TRANSFORMS: v = b.n; break;
    case QOR_DFT_COMPLEX_STORAGE: v = n->complex_storage; break;
    case QOR_DFT_REAL_STORAGE: v = n->real_storage; break;
    case QOR_DFT_CONJUGATE_EVEN_STORAGE: v = n->conjugate_even_storage; break;
    case QOR_DFT_PLACEMENT: v = n->placement == x::kInPlace ? x::kInPlace : QOR_DFT_NOT_INPLACE; break;
    case QOR_DFT_INPUT_DISTANCE: v = b.is; break;
    case QOR_DFT_OUTPUT_DISTANCE: v = b.os; break;
    case QOR_DFT_FORWARD_DISTANCE: v = b.fs; break;
    case QOR_DFT_BACKWARD_DISTANCE: v = b.bs; break;
    case QOR_DFT_ORDERING: v = n->ordering; break;
    case QOR_DFT_TRANSPOSE: v = n->transpose; break;
    case QOR_DFT_PACKED_FORMAT: v = n->packed_format; break;
    case QOR_DFT_WORKSPACE: v = n->workspace; break;
    case QOR_DFT_DESTROY_INPUT: v = (n->options & x::kOptionDestroyInput) != 0 ? QOR_DFT_ALLOW : QOR_DFT_NONE; break;
    case QOR_DFT_THREAD_LIMIT: {
      std::int32_t limit = 0;
      if (const x::status st = m.getThreadLimit(n, &limit); st != x::kOk) return static_cast<int>(st);
      v = limit;
      break;
    }
    default: return QOR_DFT_BAD_PARAMETER;
  }
  *out = v;
  return QOR_DFT_OK;
}

int get_real(const dfxi_node* n, int param, double* out) {
  if (out == nullptr) return QOR_DFT_NULL_ARGUMENT;
  const std::int32_t which = param == QOR_DFT_FORWARD_SCALE ? x::kScaleForward : x::kScaleBackward;
  return static_cast<int>(n->methods->getScale(n, which, out));
}

int get_array(const dfxi_node* n, int param, i64* out) {
  if (out == nullptr) return QOR_DFT_NULL_ARGUMENT;
  const dfxi_methods& m = *n->methods;
  switch (param) {
    case QOR_DFT_LENGTHS: return static_cast<int>(m.getLengths(n, out));
    case QOR_DFT_INPUT_STRIDES: return static_cast<int>(m.getInputStrides(n, out));
    case QOR_DFT_OUTPUT_STRIDES: return static_cast<int>(m.getOutputStrides(n, out));
    case QOR_DFT_FORWARD_STRIDES: return static_cast<int>(m.getFwdStrides(n, out));
    default: return static_cast<int>(m.getBwdStrides(n, out));
  }
}

int get_text(const dfxi_node* n, int param, char* out) {
  if (out == nullptr) return QOR_DFT_NULL_ARGUMENT;
  if (param == QOR_DFT_DESCRIPTOR_NAME) {
    char name[QOR_DFT_NAME_LENGTH + 1] = {};
    n->methods->getDescriptorName(n, name, QOR_DFT_NAME_LENGTH);
    std::memcpy(out, name, std::strlen(name) + 1);
    return QOR_DFT_OK;
  }
  // The kernel library copies the text without its terminating zero.
  char version[QOR_DFT_VERSION_LENGTH] = {};
  if (const x::status st = QOR_KERNEL(qor_dft_def_dfxi_get_version_string)(version, QOR_DFT_VERSION_LENGTH - 1);
      st != x::kOk)
    return static_cast<int>(st);
  std::memcpy(out, version, std::strlen(version) + 1);
  return QOR_DFT_OK;
}

// The argument of a variadic call, read by the parameter's type; none is
// read for a handle or parameter the call refuses.
struct Arg {
  Type type = Type::none;
  i64 integer = 0;
  double real = 0;
  const void* pointer = nullptr;
};

Arg read_set_arg(qor_dft_handle h, int param, va_list ap) {
  Arg a;
  const Param p = param_of(param);
  if (!valid(node_of(h)) || !p.writable) return a;
  a.type = p.type;
  switch (p.type) {
    case Type::integer: a.integer = va_arg(ap, i64); break;
    case Type::real: a.real = va_arg(ap, double); break;
    default: a.pointer = va_arg(ap, const void*); break;
  }
  return a;
}

int set_arg(qor_dft_handle h, int param, const Arg& a) {
  if (!valid(node_of(h))) return QOR_DFT_INVALID_DESCRIPTOR;
  if (a.type == Type::none) return QOR_DFT_BAD_PARAMETER;
  dfxi_node* n = node_of(h);
  switch (a.type) {
    case Type::integer: return set_int(n, param, a.integer);
    case Type::real: return set_real(n, param, a.real);
    case Type::array: return set_array(n, param, static_cast<const i64*>(a.pointer));
    default: return set_text(n, static_cast<const char*>(a.pointer));
  }
}

// Every get takes a pointer, whatever the type.
Arg read_get_arg(qor_dft_handle h, int param, va_list ap) {
  Arg a;
  const Param p = param_of(param);
  if (!valid(node_of(h)) || p.type == Type::none) return a;
  a.type = p.type;
  a.pointer = va_arg(ap, void*);
  return a;
}

int get_arg(qor_dft_handle h, int param, const Arg& a) {
  if (!valid(node_of(h))) return QOR_DFT_INVALID_DESCRIPTOR;
  const dfxi_node* n = node_of(h);
  void* out = const_cast<void*>(a.pointer);
  switch (a.type) {
    case Type::integer: return get_int(n, param, static_cast<i64*>(out));
    case Type::real: return get_real(n, param, static_cast<double*>(out));
    case Type::array: return get_array(n, param, static_cast<i64*>(out));
    case Type::text: return get_text(n, param, static_cast<char*>(out));
    default: return QOR_DFT_BAD_PARAMETER;
  }
}

}  // namespace

int set_value(qor_dft_handle h, int param, va_list ap) { return set_arg(h, param, read_set_arg(h, param, ap)); }

}  // namespace qor::core::dft

using namespace qor::core::dft;

// Each entry runs traced: in verbose mode it reports one line with the
// parameter (qor/qor.h). The variadic ones read their argument first.
extern "C" {

QOR_API int qor_dft_set_value(qor_dft_handle h, int param, ...) {
  va_list ap;
  va_start(ap, param);
  const Arg arg = read_set_arg(h, param, ap);
  va_end(ap);
  QOR_TRACED_STATUS((param), [=] { return set_arg(h, param, arg); });
}

QOR_API int qor_dft_get_value(qor_dft_handle h, int param, ...) {
  va_list ap;
  va_start(ap, param);
  const Arg arg = read_get_arg(h, param, ap);
  va_end(ap);
  QOR_TRACED_STATUS((param), [=] { return get_arg(h, param, arg); });
}

#define QOR_DFT_TYPED_ENTRY(name, T, type, set, call)                       \
  QOR_API int qor_dft_##name(qor_dft_handle h, int param, T value) {         \
    QOR_TRACED_STATUS((param), [=] {                                        \
      const int st = check(h, param, type, set);                            \
      return st != QOR_DFT_OK ? st : call(node_of(h), param, value);        \
    });                                                                     \
  }

// The text setter has no use for the parameter: the name is the only one.
int set_text_param(dfxi_node* n, int, const char* text) { return set_text(n, text); }

QOR_DFT_TYPED_ENTRY(set_value_int, int64_t, Type::integer, true, set_int)
QOR_DFT_TYPED_ENTRY(set_value_double, double, Type::real, true, set_real)
QOR_DFT_TYPED_ENTRY(set_value_array, const int64_t*, Type::array, true, set_array)
QOR_DFT_TYPED_ENTRY(set_value_text, const char*, Type::text, true, set_text_param)
QOR_DFT_TYPED_ENTRY(get_value_int, int64_t*, Type::integer, false, get_int)
QOR_DFT_TYPED_ENTRY(get_value_double, double*, Type::real, false, get_real)
QOR_DFT_TYPED_ENTRY(get_value_array, int64_t*, Type::array, false, get_array)
QOR_DFT_TYPED_ENTRY(get_value_text, char*, Type::text, false, get_text)
#undef QOR_DFT_TYPED_ENTRY

}  // extern "C"
