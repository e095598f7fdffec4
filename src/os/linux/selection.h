// Reading what another program offers as a selection: the clipboard or what is dragged. Interface thread
// only.
//
// The call waits for the answer: other programs' requests for this one's clipboard are answered meanwhile,
// and all other events stay in the queue. The connection must be open.
#pragma once

#include <stdint.h>

#include <X11/Xlib.h>

#include "os/strings.h"

enum SelectionResult : uint8_t {
    SELECTION_READ,
    SELECTION_REFUSED, // by the owner, or there is none, or its data are not usable
    SELECTION_SILENT,  // no answer, or a transfer that does not end
};

// What arrived.
struct SelectionData {
    Str bytes; // with a zero after them, freed with os_free; format 32 comes as the longs that Xlib makes of
               // it
    Atom type;
    int format; // bits of an item: 8, 16 or 32
};

// Reads the selection as that target into result, which stays empty unless it returns SELECTION_READ. More
// than longest bytes are not read, nor what there is no memory for: that counts as refused. An owner is
// silent after one second without any progress or five seconds in all.
SelectionResult selection_read(Atom selection, Atom target, Time time, uint64_t longest,
                               SelectionData *result);

// The property for the next request. Each one gets its own, as a transfer that was given up may go on in the
// last one's.
Atom selection_next_property();

// Asks the selection's owner for that target, with the property as it is, and waits for the answer for
// wait_ms milliseconds at most.
SelectionResult selection_request(Atom selection, Atom target, Atom property, Time time, int64_t wait_ms);
