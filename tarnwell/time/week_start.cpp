#include "tarnwell/time/week_start.h"

#include <algorithm>
#include <array>

#include "tarnwell/base/text.h"
#include "tarnwell/time/system_locale.h"

#ifdef __APPLE__
#include <CoreFoundation/CoreFoundation.h>
#endif

namespace tarnwell {
namespace {

struct RegionWeekday {
  std::string_view region;
  Weekday first;
};

constexpr Weekday fri = Weekday::friday;
constexpr Weekday sat = Weekday::saturday;
constexpr Weekday sun = Weekday::sunday;

// The regions whose week does not begin on Monday, from the CLDR week data, in ascending order.
constexpr std::array exceptions = std::to_array<RegionWeekday>({
    {"AE", sat}, {"AF", sat}, {"AG", sun}, {"AS", sun}, {"BD", sun}, {"BH", sat}, {"BR", sun},
    {"BS", sun}, {"BT", sun}, {"BW", sun}, {"BZ", sun}, {"CA", sun}, {"CO", sun}, {"DJ", sat},
    {"DM", sun}, {"DO", sun}, {"DZ", sat}, {"EG", sat}, {"ET", sun}, {"GT", sun}, {"GU", sun},
    {"HK", sun}, {"HN", sun}, {"ID", sun}, {"IL", sun}, {"IN", sun}, {"IQ", sat}, {"IR", sat},
    {"JM", sun}, {"JO", sat}, {"JP", sun}, {"KE", sun}, {"KH", sun}, {"KR", sun}, {"KW", sat},
    {"LA", sun}, {"LY", sat}, {"MH", sun}, {"MM", sun}, {"MO", sun}, {"MT", sun}, {"MV", fri},
    {"MX", sun}, {"MZ", sun}, {"NI", sun}, {"NP", sun}, {"OM", sat}, {"PA", sun}, {"PE", sun},
    {"PH", sun}, {"PK", sun}, {"PR", sun}, {"PT", sun}, {"PY", sun}, {"QA", sat}, {"SA", sun},
    {"SD", sat}, {"SG", sun}, {"SV", sun}, {"SY", sat}, {"TH", sun}, {"TT", sun}, {"TW", sun},
    {"UM", sun}, {"US", sun}, {"VE", sun}, {"VI", sun}, {"WS", sun}, {"YE", sun}, {"ZA", sun},
    {"ZW", sun},
});

static_assert(std::is_sorted(exceptions.begin(), exceptions.end(),
                             [](const auto& a, const auto& b) { return a.region < b.region; }));

// Returns the TERRITORY of "language_TERRITORY.codeset@modifier" in upper case; empty without one.
std::string regionOfLocale(std::string_view name) {
  name = name.substr(0, name.find_first_of(".@"));
  std::string region;
  while (region.size() != 2) {
    const std::size_t separator = name.find_first_of("_-");
    if (separator == std::string_view::npos) return {};
    name.remove_prefix(separator + 1);
    region = name.substr(0, name.find_first_of("_-"));  // a script such as Hans is longer
  }
  std::transform(region.begin(), region.end(), region.begin(), asciiUppercase);
  return region;
}

}  // namespace

Weekday firstWeekday(std::string_view region) {
  const auto* const found = std::lower_bound(
      exceptions.begin(), exceptions.end(), region,
      [](const RegionWeekday& entry, std::string_view wanted) { return entry.region < wanted; });
  const bool isException = found != exceptions.end() && found->region == region;
  return isException ? found->first : Weekday::monday;
}

Weekday firstWeekdayOfLocale(std::string_view localeName) {
  const std::string_view language = localeName.substr(0, localeName.find_first_of(".@"));
  if (localeName.empty() || language == "C" || language == "POSIX") return Weekday::sunday;
  return firstWeekday(regionOfLocale(localeName));
}

#ifdef __APPLE__

Weekday userFirstWeekday() {
  CFCalendarRef calendar = CFCalendarCopyCurrent();
  const CFIndex sundayIsOne = CFCalendarGetFirstWeekday(calendar);
  CFRelease(calendar);
  return static_cast<Weekday>(sundayIsOne - 1);
}

#else

Weekday userFirstWeekday() { return firstWeekdayOfLocale(userLocale().name); }

#endif

}  // namespace tarnwell
