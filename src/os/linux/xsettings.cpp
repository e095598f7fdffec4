#include "os/linux/xsettings.h"

#include <stdio.h>
#include <string.h>

#include "os/linux/x11.h"

namespace {

// The unread part of the settings. Another program wrote them, so each read checks the length.
struct Settings {
    const uint8_t *at;
    uint64_t left;
    bool is_big_endian;
    bool is_broken; // truncated or of the wrong type
};

// Consumes count bytes; null when fewer are left.
const uint8_t *take(Settings *settings, uint64_t count) {
    if (count > settings->left) {
        settings->is_broken = true;
        settings->left = 0;
        return nullptr;
    }
    const uint8_t *taken = settings->at;
    settings->at += count;
    settings->left -= count;
    return taken;
}

uint32_t take_number(Settings *settings, uint32_t size) {
    const uint8_t *bytes = take(settings, size);
    uint32_t number = 0;
    for (uint32_t i = 0; bytes && i < size; i++) {
        number = number << 8 | bytes[settings->is_big_endian ? i : size - 1 - i];
    }
    return number;
}

uint64_t padded(uint64_t size) {
    return (size + 3) & ~uint64_t{3};
}

bool find_number(Settings *settings, const char *name, int32_t *number) {
    enum Type : uint8_t { TYPE_NUMBER, TYPE_TEXT, TYPE_COLOUR };
    settings->is_big_endian = take_number(settings, 1) == 1;
    take(settings, 3 + 4); // padding and a serial number
    uint32_t count = take_number(settings, 4);
    for (uint32_t i = 0; i < count && !settings->is_broken; i++) {
        uint32_t type = take_number(settings, 1);
        take(settings, 1);
        uint32_t length = take_number(settings, 2);
        const uint8_t *bytes = take(settings, padded(length));
        take(settings, 4); // a serial number
        bool is_named = bytes && length == strlen(name) && memcmp(bytes, name, length) == 0;
        if (type == TYPE_NUMBER) {
            uint32_t value = take_number(settings, 4);
            if (is_named && !settings->is_broken) {
                *number = static_cast<int32_t>(value);
                return true;
            }
        } else if (type == TYPE_TEXT) {
            take(settings, padded(take_number(settings, 4)));
        } else if (type == TYPE_COLOUR) {
            take(settings, 8);
        } else {
            return false;
        }
    }
    return false;
}

} // namespace

bool xsettings_number(const char *name, int32_t *number) {
    constexpr uint64_t longest = 1 << 18;
    Display *display = x11_display();
    char selection[32];
    snprintf(selection, sizeof(selection), "_XSETTINGS_S%d", DefaultScreen(display));
    Window manager = XGetSelectionOwner(display, XInternAtom(display, selection, False));
    X11Property property;
    Atom type = x11_atom(ATOM_XSETTINGS_SETTINGS);
    if (manager == None || !x11_read_property(manager, type, longest, false, &property)) {
        return false;
    }
    Settings settings = {property.bytes, property.count, false,
                         property.type != type || property.format != 8};
    bool is_found = !settings.is_broken && find_number(&settings, name, number);
    XFree(property.bytes);
    return is_found;
}
