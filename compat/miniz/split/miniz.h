#pragma once

/// miniz 2.1.0 as its own build installs it keeps the zip functions out of miniz.h. Its miniz_zip.h
/// includes the miniz.h beside it, not this one.
#include <miniz_zip.h>
