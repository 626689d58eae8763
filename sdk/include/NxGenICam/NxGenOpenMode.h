#pragma once

/// How a file of the device is opened.
enum class NxGenOpenMode { kWrite = 0, kRead = 1 };
