#pragma once

/// Keeps what GLib and libxml2 would print away from this process's standard streams: a program
/// that uses the SDK owns them. Once per process; what libxml2 keeps per thread, once per thread.
void QuietLibraries();
