#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/day_view.h"
#include "tarnwell/terminal/days.h"

namespace tarnwell::terminal {
namespace {

constexpr Parameter whichDay =
    optional("DAY", "today, tomorrow, mon to sun, +3 or 2026-12-01 (default: today)");

Outcome showDay(Host& host, const Arguments& arguments) {
  const auto named = arguments.value(whichDay.name);
  const LocalDay day = named ? readDay(*named, host.today(), host.calendar) : host.today();
  const DayView view = dayView(host, day);
  if (arguments.has(jsonFlag.name)) return inJSON(view);
  return Answer{.page = pageOf(view, host)};
}

constexpr std::array dayParameters = {whichDay, jsonFlag};

}  // namespace

constinit const Command commands::day = {
    .name = "day",
    .summary = "show a day's queue, what it holds, and what is new",
    .example = "tarnwell day tomorrow",
    .parameters = dayParameters,
    .run = showDay};

}  // namespace tarnwell::terminal
