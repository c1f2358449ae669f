#include "ptmatch/tm_before_main.h"

namespace {

// Static storage is zero before any constructor runs, and a copy of zeros is not the identity: were
// the original built after this file's objects, the copy would show it.
rx2PtMatchTm copied(rx2PtMatchTm::I);

}  // namespace

const rx2PtMatchTm& tmSeenBeforeMain() {
    return copied;
}
