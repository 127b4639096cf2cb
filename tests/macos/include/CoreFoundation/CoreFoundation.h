// The declarations of CoreFoundation that the sources use, after Apple's reference. The compiler of
// `./dev check-macos` has Darwin's C and C++ headers but no frameworks.
#pragma once

extern "C" {
typedef const void* CFTypeRef;
typedef struct __CFCalendar* CFCalendarRef;
typedef long CFIndex;

CFCalendarRef CFCalendarCopyCurrent(void);
CFIndex CFCalendarGetFirstWeekday(CFCalendarRef calendar);
void CFRelease(CFTypeRef object);
}
