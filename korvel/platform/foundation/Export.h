#pragma once

/// Marks what the shared library shows to its hosts; everything else stays hidden.
#define KORVEL_API __attribute__((visibility("default")))
