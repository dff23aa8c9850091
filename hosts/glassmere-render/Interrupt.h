// Lets the user stop a render without leaving half a file.
#pragma once

// Takes over SIGINT, SIGTERM and SIGHUP until the process ends; a second signal ends it at once.
void installInterruptHandler();

// True once a signal has come. Any thread.
bool interruptRequested() noexcept;

// Throws Interrupted once a signal has come.
void throwIfInterrupted();
