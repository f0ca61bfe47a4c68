// The verbose line of a node and the version text.
#include <cstring>

#include "dft/node/api.h"
#include "dft/node/internal.h"
#include "frame/services.h"

namespace qor::dfxi {
namespace {

constexpr int kVersionBytes = 198;
constexpr std::size_t kLineBytes = 512;  // 511 characters and the zero
constexpr std::int64_t kMaxPrintedRank = 127;

// The geometry of a node as its methods report it.
struct Geometry {
  std::int64_t rank = 0, count = 1, dist_in = 0, dist_out = 0;
  std::int64_t n[kMaxPrintedRank], is[kMaxPrintedRank + 1], os[kMaxPrintedRank + 1];
};

// Whether strides follow a packed layout whose first dimension holds
// `first` elements; `total` gets the elements of the whole layout.
bool follows(const Geometry& g, const std::int64_t* s, std::int64_t first, std::int64_t* total) {
  std::int64_t p = 1;
  bool ok = true;
  for (std::int64_t i = 0; i < g.rank; ++i) {
    if (s[i + 1] != p) ok = false;
    if (__builtin_mul_overflow(p, i == 0 ? first : g.n[i], &p)) ok = false;
  }
  *total = p;
  return ok;
}

enum class Form { plain, distances, vector, strided };

// Plain when the strides are the natural ones for the domain, with the
// distances added when they are not; the vector form when the transforms
// are interleaved element by element; strided otherwise.
Form choose_form(const dfxi_node* node, const Geometry& g) {
  const bool inplace = node->placement == kInPlace;
  bool natural;
  bool natural_distance;
  if (node->forward_domain == kDomainComplex) {
    std::int64_t p_in = 0, p_out = 0;
    natural = follows(g, g.is, g.n[0], &p_in) && (inplace || follows(g, g.os, g.n[0], &p_out));
    natural_distance = g.dist_in == p_in && (inplace || g.dist_out == p_in);
  } else {
    const std::int64_t real_first = inplace ? (g.n[0] | 1) + 1 : g.n[0];
    const std::int64_t half_first = g.n[0] / 2 + 1;
    std::int64_t real_in = 0, half_out = 0, half_in = 0, real_out = 0;
    const bool forward = follows(g, g.is, real_first, &real_in) && follows(g, g.os, half_first, &half_out);
    const bool backward = follows(g, g.is, half_first, &half_in) && follows(g, g.os, real_first, &real_out);
    natural = forward || backward;
    const std::int64_t want_in = forward ? real_in : half_in;
    const std::int64_t want_out = forward ? half_out : real_out;
    natural_distance = g.dist_in == want_in && (inplace || g.dist_out == want_out);
  }
  if (natural) return natural_distance ? Form::plain : Form::distances;
  const bool first_off = g.is[1] != 1 || (!inplace && g.os[1] != 1);
  if (first_off && g.is[1] == g.count && g.dist_in == 1 && (inplace || (g.os[1] == g.is[1] && g.dist_out == 1)))
    return Form::vector;
  return Form::strided;
}

const char* format_name(std::int32_t format) {
  if (format == kFormatCcs) return "ccs";
  if (format == kFormatPack) return "pack";
  return "perm";
}

}  // namespace
}  // namespace qor::dfxi

using namespace qor::dfxi;

QOR_DEF_API status qor_dft_def_dfxi_get_version_string(char* buffer, std::int64_t length) {
  if (buffer == nullptr) return kInconsistent;
  char text[kVersionBytes] = {};
  qor_serv_get_version_string_c(text, kVersionBytes);
  const std::int64_t most = length < kVersionBytes ? length : kVersionBytes;
  for (std::int64_t i = 0; i < most && text[i] != '\0'; ++i) buffer[i] = text[i];
  return kOk;
}

// The geometry is read through the methods table, so that every kind of
// node prints the same way.
QOR_DEF_API status qor_dft_def_dfxi_verbose(const dfxi_node* node) {
  const int* mode = qor_serv_verbose_mode();
  if (mode == nullptr || *mode == 0) return kOk;
  if (node == nullptr || node->methods == nullptr) return kInconsistent;
  const dfxi_methods& m = *node->methods;
  Geometry g;
  if (m.getRank(node, &g.rank) != kOk || g.rank == 0) return kOk;
  if (g.rank < 0 || g.rank > kMaxPrintedRank) return kInconsistent;
  std::int32_t limit = 0;
  double fscale = 1.0, bscale = 1.0;
  if (m.getLengths(node, g.n) != kOk || m.getInputStrides(node, g.is) != kOk ||
      m.getOutputStrides(node, g.os) != kOk || m.getNumberOfTransforms(node, &g.count) != kOk ||
      m.getInputDistance(node, &g.dist_in) != kOk || m.getOutputDistance(node, &g.dist_out) != kOk ||
      m.getThreadLimit(node, &limit) != kOk || m.getScale(node, kScaleForward, &fscale) != kOk ||
      m.getScale(node, kScaleBackward, &bscale) != kOk)
    return kInconsistent;

  const bool complex = node->forward_domain == kDomainComplex;
  const Form form = choose_form(node, g);
  char line[kLineBytes] = {};
  char* const end = line + kLineBytes;
  char* cur = line;
  cur = qor_serv_sprintf_char_s(cur, end, "FFT(%s%s%s%s", node->precision == kSingle ? "s" : "d",
                                complex ? "c" : "r", node->placement == kInPlace ? "i" : "o",
                                complex && node->complex_storage == kStorageRealReal ? "/" : "");
  for (std::int64_t i = g.rank - 1; i >= 0; --i) {
    const bool first = i == g.rank - 1;
    const long n = static_cast<long>(g.n[i]);
    if (form == Form::strided)
      cur = qor_serv_sprintf_char_s(cur, end, first ? "%zi:%ti:%ti" : "x%zi:%ti:%ti", n,
                                    static_cast<long>(g.is[i + 1]), static_cast<long>(g.os[i + 1]));
    else
      cur = qor_serv_sprintf_char_s(cur, end, first ? "%zi" : "x%zi", n);
  }
  if (g.count >= 2) {
    if (form == Form::vector) {
      cur = qor_serv_sprintf_char_s(cur, end, "v%zi", static_cast<long>(g.count));
    } else {
      cur = qor_serv_sprintf_char_s(cur, end, "*%zi", static_cast<long>(g.count));
      if (form != Form::plain)
        cur = qor_serv_sprintf_char_s(cur, end, ":%ti:%ti", static_cast<long>(g.dist_in),
                                      static_cast<long>(g.dist_out));
    }
  }
  cur = qor_serv_sprintf_char_s(cur, end, ",");
  if (!(fscale == 1.0)) cur = qor_serv_sprintf_char_s(cur, end, "%s%lg,", "fScale=", fscale);
  if (!(bscale == 1.0)) cur = qor_serv_sprintf_char_s(cur, end, "%s%lg,", "bScale=", bscale);
  if (!complex && node->conjugate_even_storage == kStorageComplexReal)
    cur = qor_serv_sprintf_char_s(cur, end, "%s%s,", "pack=", format_name(node->packed_format));
  if (node->workspace != kWorkspaceAllow)
    cur = qor_serv_sprintf_char_s(cur, end, "%s%s,", "wSpace=", node->workspace == kWorkspaceAvoid ? "avoid" : "none");
  if (node->options & kOptionDestroyInput) cur = qor_serv_sprintf_char_s(cur, end, "%s,", "destruct=allow");
  cur = qor_serv_sprintf_char_s(cur, end, "%s%ti,", "tLim=", static_cast<long>(limit));
  qor_serv_sprintf_char_s(cur, end, "%s%p%s", "desc:", static_cast<const void*>(node), ")");
  qor_serv_print_verbose_info(0, line, 0.0);
  return kOk;
}
