#include "support/drop_source.h"

#include <stdio.h>

Drag::Drag(Peer &owner, Window target, const std::vector<std::string> &types, long version)
    : peer(owner), window(target) {
    peer.own("XdndSelection");
    std::vector<unsigned long> atoms;
    for (const std::string &type : types) {
        atoms.push_back(peer.atom(type));
    }
    bool has_list = atoms.size() > 3;
    if (has_list) {
        peer.set_property(peer.atom("XdndTypeList"), {"ATOM", 32, items(atoms)});
    }
    atoms.resize(3);
    send("XdndEnter", {version << 24 | (has_list ? 1 : 0), static_cast<long>(atoms[0]),
                       static_cast<long>(atoms[1]), static_cast<long>(atoms[2])});
}

void Drag::send(const char *type, const std::vector<long> &data) const {
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = peer.atom(type);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(peer.window);
    for (size_t i = 0; i < data.size(); i++) {
        event.xclient.data.l[i + 1] = data[i];
    }
    XSendEvent(peer.display, window, False, NoEventMask, &event);
    XSync(peer.display, False);
}

void Drag::move(int x, int y) const {
    send("XdndPosition",
         {0, static_cast<long>(x) << 16 | y, CurrentTime, static_cast<long>(peer.atom("XdndActionMove"))});
}

// action: the index of the action among the message's numbers.
DropAnswer Drag::answer_in(const XEvent &event, int action) const {
    const long *data = event.xclient.data.l;
    bool is_accepted = static_cast<Window>(data[0]) == window && (data[1] & 1) != 0;
    return {is_accepted, peer.name(static_cast<Atom>(data[action]))};
}

DropAnswer Drag::status() const {
    Atom status = peer.atom("XdndStatus");
    return answer_in(peer.wait_for([status](const XEvent &event) {
        return event.type == ClientMessage && event.xclient.message_type == status;
    }),
                     4);
}

void Drag::leave() const {
    send("XdndLeave", {});
}

void Drag::drop(Time time) const {
    send("XdndDrop", {0, static_cast<long>(time)});
}

DropAnswer Drag::finish(const std::vector<Offer> &offers, size_t piece_size) const {
    Atom finished = peer.atom("XdndFinished");
    for (;;) {
        XEvent event = peer.wait_for([finished](const XEvent &one) {
            return one.type == SelectionRequest ||
                   (one.type == ClientMessage && one.xclient.message_type == finished);
        });
        if (event.type == ClientMessage) {
            return answer_in(event, 2);
        }
        peer.serve_request(event.xselectionrequest, offers, piece_size);
    }
}

Offer offer_of_files(const std::vector<std::string> &paths) {
    std::string uris;
    for (const std::string &path : paths) {
        uris += "file://";
        for (char byte : path) {
            char coded[4];
            snprintf(coded, sizeof(coded), "%%%02X", static_cast<unsigned char>(byte));
            uris += byte == '/' ? "/" : coded;
        }
        uris += "\r\n";
    }
    return {"text/uri-list", {"text/uri-list", 8, uris}};
}
