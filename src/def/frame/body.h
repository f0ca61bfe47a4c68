// Which processor body a family runs: one rule for every family.
//
// A family has a baseline body and tuned bodies for some of the classes
// Barcelona (brc), Bulldozer (bdz), Zen (zen) and 512-bit (avx512). It names
// the classes it has, and choose_body<>() says which of its bodies serves
// the call:
//
//   - on a processor tier other than 0 (a dedicated member would serve the
//     processor) every family takes its baseline body;
//   - in a reproducible mode (qor_serv_cbwr_get other than 1) no 512-bit
//     body is taken, so an AVX-512 machine computes what an AVX2 machine
//     does;
//   - otherwise the class in force takes its own body, or the nearest one
//     it can run: the 512-bit class falls back to the Zen body, then the
//     Bulldozer one (both AVX and FMA code); the Zen class to the Bulldozer
//     body; the others to the baseline.
//
// The answer is kept per set of classes and asked again only when the
// core's generation counter has moved (a forced path or tier, a new
// reproducibility mode), so an entry pays three loads and a compare per call,
// and a family that asks counts one hit for its class after each change:
// tests that force a path still see each tuned body reached.
#pragma once
#include <atomic>
#include <cstdint>

#include "frame/isa.h"
#include "frame/services.h"

namespace qor {

// The body classes, numbered as the core's processor paths.
enum class Body : std::uint8_t { base = 0, brc = 1, bdz = 2, zen = 3, avx512 = 4 };

// The set of classes a family has bodies for; the baseline is always in it.
template <Body... B>
inline constexpr unsigned bodies_of = ((1u << static_cast<unsigned>(Body::base)) | ... |
                                       (1u << static_cast<unsigned>(B)));

namespace frame {
// The core's generation counter, fetched on first use.
extern std::atomic<const std::atomic<std::uint32_t>*> g_generation;
const std::atomic<std::uint32_t>* attach_generation();
// Asks the core which body of a family with the classes `has` serves the
// call, by the rule above (asking only the questions that matter to it).
Body ask_body(unsigned has);
}  // namespace frame

}  // namespace qor

QOR_ISA_BEGIN

inline std::uint32_t cpu_generation() {
  const std::atomic<std::uint32_t>* g = ::qor::frame::g_generation.load(std::memory_order_acquire);
  if (g == nullptr) g = ::qor::frame::attach_generation();
  return g->load(std::memory_order_acquire);
}

// The body of a family with bodies for the classes Has (a bodies_of<> set).
template <unsigned Has>
inline ::qor::Body choose_body() {
  // (generation << 8) | body; 0 is never current, the generation starts at 1.
  static std::atomic<std::uint64_t> kept{0};
  const std::uint64_t w = kept.load(std::memory_order_relaxed);
  const std::uint32_t now = cpu_generation();
  if ((w >> 8) == now) return static_cast<::qor::Body>(w & 0xff);
  const ::qor::Body b = ::qor::frame::ask_body(Has);
  kept.store((static_cast<std::uint64_t>(now) << 8) | static_cast<unsigned>(b), std::memory_order_relaxed);
  return b;
}

QOR_ISA_END
