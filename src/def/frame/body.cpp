#include "frame/body.h"

namespace qor::frame {

std::atomic<const std::atomic<std::uint32_t>*> g_generation{nullptr};

const std::atomic<std::uint32_t>* attach_generation() {
  const std::atomic<std::uint32_t>* g = qor_serv_cpu_generation();
  g_generation.store(g, std::memory_order_release);
  return g;
}

namespace {
constexpr bool has_class(unsigned has, Body b) { return (has >> static_cast<unsigned>(b)) & 1u; }
}  // namespace

Body ask_body(unsigned has) {
  if (qor_serv_cpu_detect() != 0) return Body::base;
  const bool any_avx = has_class(has, Body::zen) || has_class(has, Body::bdz);
  if (has_class(has, Body::avx512) && qor_serv_cbwr_get(1) == 1 && qor_serv_cpuisavx512() != 0)
    return Body::avx512;
  // The core says Zen on the 512-bit path too.
  if (any_avx && qor_serv_cpuiszen() != 0) return has_class(has, Body::zen) ? Body::zen : Body::bdz;
  if (has_class(has, Body::bdz) && qor_serv_cpuisbulldozer() != 0) return Body::bdz;
  if (has_class(has, Body::brc) && qor_serv_cpuisitbarcelona() != 0) return Body::brc;
  return Body::base;
}

}  // namespace qor::frame
