#pragma once

/// Marks a class or function that the utility library offers to others.
#define NY_API [[gnu::visibility("default")]]
