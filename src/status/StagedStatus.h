#pragma once

#include "protocol/StatusWord.h"

namespace kelpie {

// The word of an item after it was staged, or unstaged. Neither function returns for a word without
// any bit: the search for its highest index bit has no lower bound. The thread is then parked for
// good, without a lock and without using the processor.
StatusWord stagedStatusForStatus(StatusWord word);
StatusWord unstagedStatusForStatus(StatusWord word);
// Whether both would search for ever.
bool isEndlessStatus(StatusWord word);

}  // namespace kelpie
