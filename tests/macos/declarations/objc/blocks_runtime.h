#pragma once

// Where GNUstep's headers look for the run-time functions of blocks.
#include <Block.h>
