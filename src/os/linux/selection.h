// Reads selections that other programs own: the clipboard and dragged data. Interface thread only.
//
// Calls wait for the answer; meanwhile other programs' requests for this program's clipboard are answered,
// and all other events stay in the queue. The connection must be open.
#pragma once

#include <stdint.h>

#include <X11/Xlib.h>

#include "os/strings.h"

enum SelectionResult : uint8_t {
    SELECTION_READ,
    SELECTION_REFUSED, // no owner, no conversion to the target, or unusable data
    SELECTION_SILENT,  // no answer, or an unfinished transfer
};

// The data received.
struct SelectionData {
    Str bytes; // followed by a zero, freed with os_free; format 32: an array of long, as Xlib returns it
    Atom type;
    int format; // bits per item: 8, 16 or 32
};

// Reads the selection as that target into result, which is empty unless this returns SELECTION_READ.
// SELECTION_REFUSED includes data of more than longest bytes and running out of memory. SELECTION_SILENT:
// no progress for one second, or an incremental transfer of more than five.
SelectionResult selection_read(Atom selection, Atom target, Time time, uint64_t longest,
                               SelectionData *result);

// The property for the next request. Successive requests use different ones, as an abandoned transfer may
// still write to the previous one.
Atom selection_next_property();

// Asks the selection's owner to store that target in the helper window's property, and waits up to wait_ms
// milliseconds for the answer. Leaves the property's present contents in place: they can be the request's
// argument. SELECTION_READ: the answer is in the property.
SelectionResult selection_request(Atom selection, Atom target, Atom property, Time time, int64_t wait_ms);
