// Process-level facilities: ending the process and last-resort messages, both routed
// through hooks that tests can replace.
#pragma once
#include <cstddef>
#include <string>

namespace Platform {

// Called instead of ending the process when set. A hook that returns lets the caller go
// on, which only a test may want; production code never installs one.
using ExitHook = void (*)(int code);
// Receives a message meant for the user's eyes when no other channel is left.
using MessageHook = void (*)(const char* title, const char* text);

void setExitHook(ExitHook hook);
void setMessageHook(MessageHook hook);

// Ends the process with `code`, unless a hook takes it.
void exitProcess(int code);

// Shows a message: to the hook when one is set, else to standard error.
void messageBox(const char* title, const char* text);

// The value of an environment variable, or an empty string.
std::string getEnv(const char* name);

// Process id.
int processId();

// Tells the system that a freshly allocated block of `bytes` will be filled whole, so that
// it may back the block with huge pages: far fewer page faults for a large array. Blocks
// below 4 MiB are left alone; the advice never changes the contents.
void adviseLargeBlock(void* block, std::size_t bytes);

}  // namespace Platform
