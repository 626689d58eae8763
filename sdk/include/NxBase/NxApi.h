#pragma once

/// Marks a class or function that a shared library of the SDK offers to others.
#define NX_API [[gnu::visibility("default")]]
