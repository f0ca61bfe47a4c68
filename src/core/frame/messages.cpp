// The message catalogue behind qor_serv_get_msg and qor_serv_print.
//
// Messages are numbered; a "%s" in a text takes the next argument, and the
// arguments are texts. Numbers 396-409 frame the diagnostics of the
// trigonometric transforms and the Poisson solvers, 527-565 are the
// diagnostics themselves.
#include "frame/messages.h"

#include <cstddef>

namespace qor::core {
namespace {

struct Message {
  int number;
  const char* text;
};

constexpr Message kCatalogue[] = {
    {396, "qor trigonometric transforms diagnostics:"},
    {397, "ERROR:"},
    {398, "WARNING:"},
    {399, "The parameter arrays were not initialised by the initialisation routine."},
    {400, "The routine stopped on an earlier error and computed nothing."},
    {401, "The transform was not committed before it was used."},
    {402, "The workspace could not be allocated."},
    {403, "The internal transform failed."},
    {404, "The handle could not be released."},
    {405, "The parameters changed since the last commit."},
    {406, "Please see the description of ipar and dpar for the meaning of each entry."},
    {407, "The results may be inaccurate."},
    {408, "The log file %s could not be opened."},
    {409, "The diagnostics are lost; consider sending them to the screen by setting ipar[1] or ipar[2]."},
    {527, "An earlier call ended with an error: ipar[6]=%s. Clear ipar[6] and initialise again before further calls."},
    {528, "No computation was done."},
    {529, "The transform size n=%s is too small: n must be at least 2."},
    {530, "Check ipar[0]."},
    {531, "The transform type ipar[5]=%s is not supported."},
    {532, "Supported types are 0 (sine), 1 (cosine), 2 (staggered cosine), 3 (staggered sine),"},
    {533, "4 (twice staggered cosine) and 5 (twice staggered sine)."},
    {534, "Check ipar[5]."},
    {535, "The table of trigonometric values is missing or corrupted."},
    {536, "Commit the transform again before computing it."},
    {537, "No computation was done."},
    {538, "The routine was called with ipar[6]=%s, which marks an unfinished or failed state."},
    {539, "Every routine but the one that frees the transform refuses to run in that state."},
    {540, "Clear ipar[6] to continue."},
    {541, "No computation was done."},
    {542, "The parameter arrays belong to a transform of another size than n=%s."},
    {543, "Initialise and commit again with the current size."},
    {544, "No computation was done."},
    {545, "The tolerance dpar[0]=%s is negative and was replaced by n*1.0E-12=%s."},
    {546, "The tolerance bounds the magnitude of the values that must be zero at the boundary."},
    {547, "Set dpar[0] to a non-negative value to choose another tolerance."},
    {548, "The computation goes on with the replaced tolerance."},
    {549, "Set ipar[2] to 0 to silence the tolerance checks."},
    {550, "The value %s at the boundary exceeds the tolerance dpar[0]=%s in absolute value."},
    {551, "The transform of such data is not a pure sine transform; the result may not be what you expect."},
    {552, "The computation goes on."},
    {553, "The value %s at the boundary exceeds the tolerance dpar[0]=%s in absolute value."},
    {554, "The transform of such data is not a pure cosine transform; the result may not be what you expect."},
    {555, "The computation goes on."},
    {556, "The value %s at the boundary exceeds the tolerance dpar[0]=%s in absolute value."},
    {557, "The data do not meet the boundary condition of the chosen transform type."},
    {558, "The computation goes on."},
    {559, "The number of threads ipar[9]=%s is not valid; it was set to %s."},
    {560, "The number of threads must be at least 1."},
    {561, "The computation goes on with the corrected value."},
    {562, "The value %s at the boundary exceeds the tolerance dpar[0]=%s in absolute value."},
    {563, "The data do not meet the boundary condition of the staggered transform."},
    {564, "The computation goes on."},
    {565, "The transform engine failed: %s"},
};

}  // namespace

const char* catalogue_text(int number) {
  for (const Message& m : kCatalogue)
    if (m.number == number) return m.text;
  return nullptr;
}

std::size_t expand_message(char* out, std::size_t size, int number, int count, const char* const* args) {
  if (size == 0) return 0;
  const char* t = catalogue_text(number);
  std::size_t n = 0;
  auto put = [&](char c) {
    if (n + 1 < size) out[n++] = c;
  };
  if (t == nullptr) {
    static constexpr char kUnknown[] = "qor: message number unknown to this library";
    for (const char* p = kUnknown; *p; ++p) put(*p);
  } else {
    int next = 0;
    for (const char* p = t; *p; ++p) {
      if (p[0] == '%' && p[1] == 's') {
        const char* a = next < count && args[next] != nullptr ? args[next] : "";
        ++next;
        for (; *a; ++a) put(*a);
        ++p;
      } else {
        put(*p);
      }
    }
  }
  out[n] = '\0';
  return n;
}

}  // namespace qor::core
