// The transform engine of the kernel member, passed through: each
// qor_dft_<name> calls the member's qor_dft_def_<name> (qor/dft_primitive.h).
#include <cstring>

#include "dft/api.h"
#include "frame/member.h"
#include "frame/trace.h"
#include "qor/dft_primitive.h"

// Each forwarder is traced with its integer arguments (lengths, orders,
// flags); pointers and scalars are left out.
#define QOR_ZUPS_FORWARD(ret, name, params, args)                                            \
  QOR_API ret qor_dft_##name params {                                                        \
    QOR_TRACED_STATUS(args, [=] { return QOR_KERNEL(qor_dft_def_##name) args; });             \
  }
extern "C" {
QOR_ZUPS_ENTRIES(QOR_ZUPS_FORWARD)
}
#undef QOR_ZUPS_FORWARD

namespace {

using StepFn = int (*)(const void*, void*, const qor_zups_step*);
using SplitFn = int (*)(const void*, const void*, void*, void*, const qor_zups_step*);
using OutOrdFn = int (*)(void*, const qor_zups_step*);
using OutOrdSplitFn = int (*)(void*, void*, const qor_zups_step*);

// The member's step kernels by name, bound on first use.
template <class F>
struct Named {
  const char* name;
  F (*bind)();
};


#define QOR_STEP_ENTRY_C(stem)                                                                                 \
  {"ownsc" #stem "_32fc", []() { return reinterpret_cast<StepFn>(QOR_KERNEL(qor_dft_def_ownsc##stem##_32fc)); }}, \
      {"ownsc" #stem "_64fc", []() { return reinterpret_cast<StepFn>(QOR_KERNEL(qor_dft_def_ownsc##stem##_64fc)); }},
#define QOR_STEP_ENTRY_S(stem)                                                                                  \
  {"ownscr" #stem "_32f", []() { return reinterpret_cast<SplitFn>(QOR_KERNEL(qor_dft_def_ownscr##stem##_32f)); }}, \
      {"ownscr" #stem "_64f", []() { return reinterpret_cast<SplitFn>(QOR_KERNEL(qor_dft_def_ownscr##stem##_64f)); }},
#define QOR_OUTORD_ENTRY_C(stem)                                                                                 \
  {"ownsc" #stem "_32fc", []() { return reinterpret_cast<OutOrdFn>(QOR_KERNEL(qor_dft_def_ownsc##stem##_32fc)); }}, \
      {"ownsc" #stem "_64fc", []() { return reinterpret_cast<OutOrdFn>(QOR_KERNEL(qor_dft_def_ownsc##stem##_64fc)); }},
#define QOR_OUTORD_ENTRY_S(stem)                                                                             \
  {"ownscr" #stem "_32f",                                                                                   \
   []() { return reinterpret_cast<OutOrdSplitFn>(QOR_KERNEL(qor_dft_def_ownscr##stem##_32f)); }},            \
      {"ownscr" #stem "_64f",                                                                               \
       []() { return reinterpret_cast<OutOrdSplitFn>(QOR_KERNEL(qor_dft_def_ownscr##stem##_64f)); }},

const Named<StepFn> kSteps[] = {QOR_ZUPS_STEP_RADICES(QOR_STEP_ENTRY_C, Fwd) QOR_ZUPS_STEP_RADICES(QOR_STEP_ENTRY_C, Inv)};
const Named<SplitFn> kSplitSteps[] = {QOR_ZUPS_STEP_RADICES(QOR_STEP_ENTRY_S, Fwd)
                                          QOR_ZUPS_STEP_RADICES(QOR_STEP_ENTRY_S, Inv)};
const Named<OutOrdFn> kOutOrd[] = {QOR_ZUPS_OUTORD_RADICES(QOR_OUTORD_ENTRY_C, Fwd)
                                       QOR_ZUPS_OUTORD_RADICES(QOR_OUTORD_ENTRY_C, Inv)};
const Named<OutOrdSplitFn> kOutOrdSplit[] = {QOR_ZUPS_OUTORD_RADICES(QOR_OUTORD_ENTRY_S, Fwd)
                                                 QOR_ZUPS_OUTORD_RADICES(QOR_OUTORD_ENTRY_S, Inv)};

template <class F, std::size_t N>
F find(const Named<F> (&list)[N], const char* name) {
  if (name == nullptr) return nullptr;
  for (const auto& e : list)
    if (std::strcmp(e.name, name) == 0) return e.bind();
  return nullptr;
}

}  // namespace

extern "C" {

QOR_API int qor_dft_step(const char* kernel, const void* src, void* dst, const qor_zups_step* step) {
  QOR_TRACED_STATUS_NAMED((qor::core::trace::Name{kernel}), "kernel", [=] {
    StepFn f = find(kSteps, kernel);
    return f != nullptr ? f(src, dst, step) : QOR_ZUPS_WRONG_SPEC;
  });
}
QOR_API int qor_dft_step_split(const char* kernel, const void* src_re, const void* src_im, void* dst_re, void* dst_im,
                               const qor_zups_step* step) {
  QOR_TRACED_STATUS_NAMED((qor::core::trace::Name{kernel}), "kernel", [=] {
    SplitFn f = find(kSplitSteps, kernel);
    return f != nullptr ? f(src_re, src_im, dst_re, dst_im, step) : QOR_ZUPS_WRONG_SPEC;
  });
}
QOR_API int qor_dft_step_outord(const char* kernel, void* data, const qor_zups_step* step) {
  QOR_TRACED_STATUS_NAMED((qor::core::trace::Name{kernel}), "kernel", [=] {
    OutOrdFn f = find(kOutOrd, kernel);
    return f != nullptr ? f(data, step) : QOR_ZUPS_WRONG_SPEC;
  });
}
QOR_API int qor_dft_step_outord_split(const char* kernel, void* re, void* im, const qor_zups_step* step) {
  QOR_TRACED_STATUS_NAMED((qor::core::trace::Name{kernel}), "kernel", [=] {
    OutOrdSplitFn f = find(kOutOrdSplit, kernel);
    return f != nullptr ? f(re, im, step) : QOR_ZUPS_WRONG_SPEC;
  });
}

}  // extern "C"
