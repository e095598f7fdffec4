// Files dropped on the window on X11, by a second program that speaks the protocol.
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h> // before Xlib, whose macros clash with its names

#include "os/clipboard.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/window.h"
#include "support/drop_source.h"
#include "support/heap_hook.h"
#include "support/other_program.h"
#include "support/test_tree.h"

namespace {

std::vector<std::string> drops; // position, and each name in brackets

void note_drop(const WindowEvent *event) {
    if (event->type == EVENT_FILES_DROPPED) {
        std::string drop =
            std::to_string(event->dropped.position.x) + "," + std::to_string(event->dropped.position.y);
        const char *name = event->dropped.names;
        for (int32_t i = 0; i < event->dropped.count; i++, name += strlen(name) + 1) {
            drop += " <" + std::string(name) + ">";
        }
        EXPECT_EQ(*name, 0);
        drops.push_back(drop);
    }
}

class Drop : public testing::Test {
protected:
    void SetUp() override {
        drops.clear();
        os_set_event_callback(note_drop);
        window = os_window_create(400, 300, str_from("Drop"), 0);
        ASSERT_NE(window, nullptr);
        handle_own_events = [] { os_pump_messages(); };
        os_pump_messages();
        id = reinterpret_cast<uintptr_t>(window->handle);
        place(&x, &y);
    }
    void TearDown() override {
        os_window_destroy(window);
        os_free(window);
        os_set_event_callback(nullptr);
    }

    // The client area's position, once the window manager has placed the window.
    void place(int *left, int *top) {
        OtherProgram other([&](Peer &self) {
            XWindowAttributes attributes;
            Window child = None;
            do {
                XGetWindowAttributes(self.display, id, &attributes);
            } while (attributes.map_state != IsViewable);
            XTranslateCoordinates(self.display, id, DefaultRootWindow(self.display), 0, 0, left, top, &child);
            self.tell(std::to_string(*left));
            self.tell(std::to_string(*top));
        });
        *left = std::stoi(other.heard());
        *top = std::stoi(other.heard());
    }

    // The whole drag of these offers, at 12, 34 in the client area. Returns the answers that the source
    // received.
    std::string drag(const std::vector<Offer> &offers, size_t piece_size = 200000) {
        OtherProgram other([&](Peer &self) {
            std::vector<std::string> types;
            for (const Offer &offer : offers) {
                types.push_back(offer.target);
            }
            Drag drag(self, id, types);
            drag.move(x + 1, y + 2);
            drag.status();
            drag.move(x + 12, y + 34);
            self.tell(written(drag.status()));
            drag.drop();
            self.tell(written(drag.finish(offers, piece_size)));
        });
        std::string status = other.heard();
        return status + ", " + other.heard();
    }

    static std::string written(const DropAnswer &answer) {
        return (answer.is_accepted ? "accepted " : "refused ") + answer.action;
    }

    PlatformWindow *window = nullptr;
    Window id = None;
    int x = 0;
    int y = 0;
};

constexpr const char *all_accepted = "accepted XdndActionCopy, accepted XdndActionCopy";

Offer uris(const std::string &list) {
    return {"text/uri-list", {"text/uri-list", 8, list}};
}

} // namespace

TEST_F(Drop, TheWindowAnnouncesVersion5) {
    OtherProgram other([&](Peer &self) {
        self.window = id;
        std::optional<Contents> version = self.property(self.atom("XdndAware"));
        self.tell(version->type + " " + std::to_string(values_of(version->bytes).at(0)));
    });
    EXPECT_EQ(other.heard(), "ATOM 5");
}

TEST_F(Drop, FilesAreDeliveredWithTheirNamesDecodedAndThePlaceInTheClientArea) {
    EXPECT_EQ(drag({offer_of_files({"/code/a.txt", "/größe 😀/b", "/with\\backslash"})}), all_accepted);
    EXPECT_EQ(drops, (std::vector<std::string>{"12,34 </code/a.txt> </größe 😀/b> </with/backslash>"}));
}

TEST_F(Drop, EntriesOtherThanFilesAreSkipped) {
    EXPECT_EQ(drag({uris("# comment\r\nhttp://example.org/a\r\nfile:///b\r\nfile://elsewhere/c\r\n")}),
              all_accepted);
    EXPECT_EQ(drops, (std::vector<std::string>{"12,34 </b>"}));
}

TEST_F(Drop, WithoutAnyFileNothingIsDelivered) {
    for (const char *list : {"", "http://example.org/a\r\n"}) {
        EXPECT_EQ(drag({uris(list)}), "accepted XdndActionCopy, refused (none)");
    }
    EXPECT_TRUE(drops.empty());
}

TEST_F(Drop, TimesOfAServerThatHasRunForAMonthAreTimesToo) {
    OtherProgram other([&](Peer &self) {
        Drag drag(self, id);
        drag.move(x, y);
        drag.status();
        drag.drop(0x90000000);
        self.tell(written(drag.finish({offer_of_files({"/a"})})));
    });
    EXPECT_EQ(other.heard(), "accepted XdndActionCopy");
}

TEST_F(Drop, OnlyFilesAreAccepted) {
    EXPECT_EQ(drag({{"text/plain", {"text/plain", 8, "file:///a"}}}), "refused (none), refused (none)");
    EXPECT_TRUE(drops.empty());
}

TEST_F(Drop, FilesAreFoundAmongManyTypes) {
    std::vector<Offer> offers;
    for (int i = 0; i < 100; i++) {
        offers.push_back({"type/" + std::to_string(i), {"STRING", 8, "x"}});
    }
    EXPECT_EQ(drag(offers), "refused (none), refused (none)");
    offers.push_back(offer_of_files({"/a"}));
    EXPECT_EQ(drag(offers), all_accepted);
    EXPECT_EQ(drops, (std::vector<std::string>{"12,34 </a>"}));
}

TEST_F(Drop, LongListsComeInPieces) {
    std::vector<std::string> paths;
    std::string expected = "12,34";
    for (int i = 0; i < 20000; i++) {
        paths.push_back("/folder/file " + std::to_string(i));
        expected += " <" + paths.back() + ">";
    }
    EXPECT_EQ(drag({offer_of_files(paths)}, 50000), all_accepted);
    ASSERT_EQ(drops.size(), 1u);
    EXPECT_TRUE(drops[0] == expected);
}

TEST_F(Drop, ADragThatLeavesDeliversNothing) {
    OtherProgram other([&](Peer &self) {
        Drag drag(self, id);
        drag.move(x, y);
        drag.status();
        drag.leave();
        drag.drop(); // which no source does
        self.tell("left");
        self.serve({offer_of_files({"/a"})});
    });
    EXPECT_EQ(other.heard(), "left");
    os_pump_messages();
    EXPECT_TRUE(drops.empty());
    EXPECT_EQ(drag({offer_of_files({"/a"})}), all_accepted);
    EXPECT_EQ(drops.size(), 1u);
}

TEST_F(Drop, WithoutAPlaceNothingIsDelivered) {
    OtherProgram other([&](Peer &self) {
        Drag drag(self, id);
        drag.drop();
        self.tell(written(drag.finish({offer_of_files({"/a"})})));
    });
    EXPECT_EQ(other.heard(), "refused (none)");
    EXPECT_TRUE(drops.empty());
}

TEST_F(Drop, MessagesOfOthersDoNotEndADrag) {
    OtherProgram other([&](Peer &self) {
        Drag drag(self, id);
        drag.move(x, y);
        drag.status();
        Window source = self.window;
        self.window = id; // as a message from the window itself
        drag.leave();
        self.window = source;
        XEvent event = {};
        event.xclient.type = ClientMessage;
        event.xclient.window = id;
        event.xclient.message_type = self.atom("XdndLeave");
        event.xclient.format = 8; // where the protocol has 32
        memcpy(event.xclient.data.b, &source, sizeof(source));
        XSendEvent(self.display, id, False, NoEventMask, &event);
        drag.drop();
        self.tell(written(drag.finish({offer_of_files({"/a"})})));
    });
    EXPECT_EQ(other.heard(), "accepted XdndActionCopy");
    EXPECT_EQ(drops.size(), 1u);
}

TEST_F(Drop, SourcesOfOlderVersionsAreIgnored) {
    OtherProgram other([&](Peer &self) {
        Drag old_drag(self, id, {"text/uri-list"}, 2);
        old_drag.move(x, y);
        Drag oldest_drag(self, id, {"text/uri-list"}, 3);
        oldest_drag.move(x, y);
        self.tell(written(oldest_drag.status()));
        oldest_drag.drop();
        self.tell(written(oldest_drag.finish({offer_of_files({"/a"})})));
        // A second status would be the answer to the old one.
        XEvent event;
        self.tell(XCheckTypedEvent(self.display, ClientMessage, &event) ? "more" : "no more");
    });
    EXPECT_EQ(other.heard(), "accepted XdndActionCopy");
    EXPECT_EQ(other.heard(), "accepted XdndActionCopy");
    EXPECT_EQ(other.heard(), "no more");
    EXPECT_EQ(drops.size(), 1u);
}

TEST_F(Drop, ASourceThatDoesNotAnswerOrVanishesLeavesNothingForTheNextDrag) {
    for (bool vanishes : {false, true}) {
        for (int step = 0; step < 3; step++) {
            OtherProgram other([&](Peer &self) {
                Drag drag(self, id);
                if (step > 0) {
                    drag.move(x, y);
                }
                if (step > 1) {
                    drag.drop();
                }
                if (vanishes) {
                    _exit(0);
                }
                self.tell("done");
                self.wait_for([](const XEvent &) { return false; });
            });
            EXPECT_EQ(other.heard(), vanishes ? "(ended)" : "done");
            os_pump_messages();
            EXPECT_EQ(drag({offer_of_files({"/a"})}), all_accepted) << step;
            EXPECT_EQ(drops, (std::vector<std::string>{"12,34 </a>"})) << step;
            drops.clear();
        }
    }
}

TEST_F(Drop, AnAnswerOfAnotherTypeIsIgnored) {
    const Contents answers[] = {{"STRING", 8, "file:///a\r\n"},
                                {"text/uri-list", 16, "file:///a\r\n!"},
                                {"text/uri-list", 32, items({1, 2, 3})}};
    for (const Contents &contents : answers) {
        EXPECT_EQ(drag({{"text/uri-list", contents}}), "accepted XdndActionCopy, refused (none)");
    }
    EXPECT_TRUE(drops.empty());
}

TEST_F(Drop, OddMessagesAndPropertiesAreIgnored) {
    const Contents lists[] = {
        {"ATOM", 8, "text/uri-list"},
        {"STRING", 32, items({x11_atom(ATOM_TEXT_URI_LIST)})},
        {"ATOM", 32, items(std::vector<unsigned long>(100000, x11_atom(ATOM_TEXT_URI_LIST)))},
        {"ATOM", 32, ""}};
    OtherProgram other([&](Peer &self) {
        Drag drag(self, id, {"a", "b", "c", "d"});
        for (const Contents &list : lists) {
            self.set_property(self.atom("XdndTypeList"), list);
            XEvent event = {};
            event.xclient.type = ClientMessage;
            event.xclient.window = id;
            event.xclient.format = 32;
            event.xclient.data.l[0] = static_cast<long>(self.window);
            event.xclient.data.l[1] = 5L << 24 | 1;
            for (const char *type : {"XdndEnter", "XdndPosition"}) { // with the list as it is
                event.xclient.message_type = self.atom(type);
                XSendEvent(self.display, id, False, NoEventMask, &event);
            }
            self.tell(written(drag.status()));
        }
        for (const char *type : {"XdndEnter", "XdndPosition", "XdndDrop", "XdndLeave", "XdndStatus"}) {
            for (long source : {0L, 1L, -1L, 0x1fffffffL, static_cast<long>(id)}) {
                for (int format : {8, 32}) {
                    XEvent event = {};
                    event.xclient.type = ClientMessage;
                    event.xclient.window = id;
                    event.xclient.message_type = self.atom(type);
                    event.xclient.format = format;
                    event.xclient.data.l[0] = source;
                    event.xclient.data.l[1] = -1;
                    event.xclient.data.l[2] = -1;
                    XSendEvent(self.display, id, False, NoEventMask, &event);
                }
            }
        }
        XSync(self.display, False);
        self.tell("sent");
    });
    for (size_t i = 0; i < sizeof(lists) / sizeof(lists[0]); i++) {
        EXPECT_EQ(other.heard(), "refused (none)") << i;
    }
    EXPECT_EQ(other.heard(), "sent");
    EXPECT_EQ(drag({offer_of_files({"/a"})}), all_accepted);
    EXPECT_EQ(drops, (std::vector<std::string>{"12,34 </a>"}));
}

TEST_F(Drop, WithoutMemoryNothingIsDelivered) {
    for (uint64_t failing : {0u, 1u}) { // the bytes that arrive, and the names
        FailingAllocation allocations(failing);
        EXPECT_EQ(drag({offer_of_files({"/a"})}), "accepted XdndActionCopy, refused (none)");
        EXPECT_EQ(allocations.sizes.size(), failing + 1);
    }
    EXPECT_TRUE(drops.empty());
}

TEST_F(Drop, WhileItWaitsForASourceItServesTheClipboard) {
    EXPECT_EQ(os_clipboard_set_text(str_from("text")), 0);
    OtherProgram other([&](Peer &self) {
        Drag drag(self, id);
        drag.move(x, y);
        drag.status();
        drag.drop();
        self.wait_for([](const XEvent &event) { return event.type == SelectionRequest; });
        std::optional<Contents> text = self.fetch("CLIPBOARD", "UTF8_STRING");
        self.tell(text ? text->bytes : "(none)");
        self.tell(written(drag.finish({})));
    });
    EXPECT_EQ(other.heard(), "text");
    EXPECT_EQ(other.heard(), "refused (none)");
}
