// The seam to the operating system: all that differs between systems, one source per system.
//
//   platformGetRecord, platformSetRecord   the calling thread's record
//   platformNewRecord, platformFreeRecord  memory for records, zero-filled
//   platformFormat                         texts for the box
//   platformAsk, platformTell              the message box
//   platformFatal                          end the application at once
//   platformCycles                         the processor's time-stamp counter
//
// A system source calls ownThreadStart and ownThreadEnd (owncontext.h) when it learns of a thread's start and end.
#pragma once

#include <cstddef>
#include <cstdint>

void* platformGetRecord();

// Stores the calling thread's record; false if the system has no slot for it.
bool platformSetRecord(void* record);

void* platformNewRecord(size_t size);
void platformFreeRecord(void* record);

// Formats like snprintf: at most size bytes with the terminator, longer texts are cut.
__attribute__((format(printf, 3, 4))) void platformFormat(char* text, size_t size, const char* format, ...);

enum class PlatformQuestion { okCancel, yesNo };
enum class PlatformAnswer { ok, cancel, yes, no, notShown };

// Shows a question with the stop icon and waits for the answer. notShown where there is nobody to ask.
PlatformAnswer platformAsk(const char* title, const char* text, PlatformQuestion question);

// Shows a text with the information icon and the single button OK.
void platformTell(const char* title, const char* text);

[[noreturn]] void platformFatal(const char* text);

uint64_t platformCycles();
