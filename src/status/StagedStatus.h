#pragma once

#include "protocol/StatusWord.h"

namespace kelpie {

// The word that an item has after it was staged, or unstaged. Neither returns for a word without
// any bit: the search for its highest index bit has no lower bound. The thread is then parked for
// good, without a lock and without using the processor.
StatusWord stagedStatusForStatus(StatusWord word);
StatusWord unstagedStatusForStatus(StatusWord word);
// Whether neither would return.
bool isEndlessStatus(StatusWord word);

}  // namespace kelpie
