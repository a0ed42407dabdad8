#pragma once

// Thunar's interface for extensions. Parts of it are not declared as C for C++; all that it
// includes must have been included before.

#include <gtk/gtk.h>

extern "C" {
#include <thunarx/thunarx.h>
}
