// What is specific to the clipboard on X11: other programs that own or request it, correctly or not.
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>

#include <gtest/gtest.h> // before Xlib, whose macros clash with its names

#include <X11/Xatom.h>

#include "os/clipboard.h"
#include "os/linux/clipboard.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/window.h"
#include "support/other_program.h"
#include "support/test_tree.h"

namespace {

using namespace std::string_literals;

constexpr const char *text_targets[] = {"UTF8_STRING", "text/plain;charset=utf-8", "TEXT", "STRING"};

// Longer than one request can hold, with no two pieces alike.
std::string long_text(size_t size) {
    std::string text;
    for (int i = 0; text.size() < size; i++) {
        text += "line " + std::to_string(i) + " größe 😀\n";
    }
    return text;
}

void set_text(const std::string &text) {
    EXPECT_EQ(os_clipboard_set_text(str_over(text)), 0);
}

std::string got() {
    Str text = os_clipboard_get_text();
    std::string copy = text.data ? to_string(text) : "(none)";
    os_free(text.data);
    return copy;
}

// What another program gets, and as which type.
std::string fetched(const std::string &target) {
    OtherProgram other([&](Peer &self) {
        std::optional<Contents> contents = self.fetch("CLIPBOARD", target);
        self.tell(contents ? contents->type + " " + std::to_string(contents->format) + ": " + contents->bytes
                           : "(refused)");
    });
    return other.heard();
}

// How many properties with answers the program has left on the server.
int answers_left() {
    int count = 0;
    int left = 0;
    Atom *properties = XListProperties(x11_display(), x11_helper_window(), &count);
    for (int i = 0; i < count; i++) {
        char *name = XGetAtomName(x11_display(), properties[i]);
        left += std::string(name).find("SELECTION") != std::string::npos;
        XFree(name);
    }
    if (properties) {
        XFree(properties);
    }
    return left;
}

// Offers these on the clipboard as long as it lives.
class Owner : public OtherProgram {
public:
    explicit Owner(const std::vector<Offer> &offers, size_t piece_size = 200000)
        : OtherProgram([&](Peer &self) {
              self.own("CLIPBOARD");
              self.tell("owns");
              self.serve(offers, piece_size);
          }) {
        EXPECT_EQ(heard(), "owns");
    }
};

// Owns the clipboard and passes each request to the function.
class OddOwner : public OtherProgram {
public:
    using Answer = std::function<void(Peer &, const XSelectionRequestEvent &)>;
    explicit OddOwner(const Answer &answer)
        : OtherProgram([&](Peer &self) {
              self.own("CLIPBOARD");
              self.tell("owns");
              for (;;) {
                  XEvent event =
                      self.wait_for([](const XEvent &one) { return one.type == SelectionRequest; });
                  answer(self, event.xselectionrequest);
              }
          }) {
        EXPECT_EQ(heard(), "owns");
    }
};

} // namespace

// ---- Out ----

TEST(X11Clipboard, TextGoesOutInEachOfTheUsualTargets) {
    set_text("größe 😀");
    EXPECT_EQ(fetched("UTF8_STRING"), "UTF8_STRING 8: größe 😀");
    EXPECT_EQ(fetched("text/plain;charset=utf-8"), "text/plain;charset=utf-8 8: größe 😀");
    EXPECT_EQ(fetched("TEXT"), "UTF8_STRING 8: größe 😀");
    EXPECT_EQ(fetched("STRING"), "STRING 8: gr\xf6\xdf\x65 ?");
    EXPECT_EQ(fetched("image/png"), "(refused)");
}

TEST(X11Clipboard, AllOfLatin1GoesOutAndAllElseIsAQuestionMark) {
    set_text("\u007f\u0080\u00bf\u00c0\u00ff|\u0100|\u07ff|\u0800|\uffff|\U00010000|\xff|");
    EXPECT_EQ(fetched("STRING"), "STRING 8: \x7f\x80\xbf\xc0\xff|?|?|?|?|?|?|");
}

TEST(X11Clipboard, BytesThatAreNotUtf8GoOutAsTheyAreUnderATypeThatSaysSo) {
    set_text("gr\xf6\xdf\x65");
    EXPECT_EQ(fetched("TEXT"), "C_STRING 8: gr\xf6\xdf\x65");
    EXPECT_EQ(fetched("UTF8_STRING"), "UTF8_STRING 8: gr\uFFFD\uFFFDe");
}

TEST(X11Clipboard, LongTextsGoOutInPieces) {
    std::string text = long_text(3000000);
    set_text(text);
    EXPECT_TRUE(fetched("UTF8_STRING") == "UTF8_STRING 8: " + text);
    OtherProgram other([](Peer &self) {
        Atom property = self.atom("FETCHED");
        self.convert("CLIPBOARD", self.atom("STRING"), property);
        self.tell(self.is_answered() ? "answered" : "refused");
        self.tell(self.property(property)->type); // the start, which the next piece waits for
    });
    EXPECT_EQ(other.heard(), "answered");
    EXPECT_EQ(other.heard(), "INCR");
}

TEST(X11Clipboard, SeveralProgramsGetLongTextsAtOnceThoughTheClipboardChangesMeanwhile) {
    std::string text = long_text(2000000);
    set_text(text);
    auto run = [](Peer &self) {
        Atom property = self.atom("FETCHED");
        self.convert("CLIPBOARD", self.atom("UTF8_STRING"), property);
        self.is_answered();
        self.tell("begun");
        self.tell(self.received(property)->bytes);
    };
    OtherProgram first(run);
    OtherProgram second(run);
    EXPECT_EQ(first.heard(), "begun");
    EXPECT_EQ(second.heard(), "begun");
    set_text("after");
    EXPECT_TRUE(second.heard() == text);
    EXPECT_TRUE(first.heard() == text);
    EXPECT_EQ(fetched("UTF8_STRING"), "UTF8_STRING 8: after");
}

TEST(X11Clipboard, ProgramsThatStopInTheMiddleOfATransferAreIgnored) {
    std::string text = long_text(300000);
    set_text(text);
    auto begin = [](Peer &self) {
        for (int i = 0; i < 20; i++) { // more than there is room for
            self.convert("CLIPBOARD", self.atom("UTF8_STRING"), self.atom("PROPERTY_" + std::to_string(i)));
            self.is_answered();
        }
        self.tell("begun");
        self.wait_for([](const XEvent &) { return false; });
    };
    for (int i = 0; i < 3; i++) {
        OtherProgram ends(begin);
        EXPECT_EQ(ends.heard(), "begun");
    }
    OtherProgram stays(begin);
    EXPECT_EQ(stays.heard(), "begun");
    EXPECT_TRUE(fetched("UTF8_STRING") == "UTF8_STRING 8: " + text);
}

TEST(X11Clipboard, TheTargetsAreListed) {
    set_text("text");
    OtherProgram other([](Peer &self) {
        std::optional<Contents> contents = self.fetch("CLIPBOARD", "TARGETS");
        std::string names = contents->type;
        for (unsigned long target : values_of(contents->bytes)) {
            names += " " + self.name(target);
        }
        self.tell(names);
    });
    EXPECT_EQ(other.heard(), "ATOM TARGETS MULTIPLE TIMESTAMP SAVE_TARGETS UTF8_STRING "
                             "text/plain;charset=utf-8 TEXT STRING");
}

TEST(X11Clipboard, TheTimestampIsWhenTheTextWasSet) {
    Time before = x11_server_time();
    set_text("text");
    Time after = x11_server_time();
    OtherProgram other([](Peer &self) {
        std::optional<Contents> contents = self.fetch("CLIPBOARD", "TIMESTAMP");
        self.tell(contents->type);
        self.tell(std::to_string(values_of(contents->bytes).at(0)));
    });
    EXPECT_EQ(other.heard(), "INTEGER");
    Time timestamp = std::stoul(other.heard());
    EXPECT_GE(timestamp, before);
    EXPECT_LE(timestamp, after);
}

TEST(X11Clipboard, RequestsForATimeBeforeTheTextAreRefused) {
    set_text("text");
    OtherProgram other([](Peer &self) {
        for (Time back : {Time{0}, Time{1}}) {
            Time since = values_of(self.fetch("CLIPBOARD", "TIMESTAMP")->bytes).at(0);
            XConvertSelection(self.display, self.atom("CLIPBOARD"), self.atom("UTF8_STRING"),
                              self.atom("FETCHED"), self.window, since - back);
            self.tell(self.is_answered() ? "answered" : "refused");
        }
    });
    EXPECT_EQ(other.heard(), "answered");
    EXPECT_EQ(other.heard(), "refused");
}

TEST(X11Clipboard, SeveralTargetsAreAnsweredAtOnceAndThoseWithoutAnAnswerAreMarked) {
    std::string text = long_text(400000);
    set_text(text);
    OtherProgram other([](Peer &self) {
        Atom list = self.atom("LIST");
        self.set_property(list, {"ATOM_PAIR", 32,
                                 items({self.atom("STRING"), self.atom("A"), self.atom("image/png"),
                                        self.atom("B"), self.atom("UTF8_STRING"), self.atom("C"),
                                        self.atom("MULTIPLE"), self.atom("D"), self.atom("TARGETS"), None})});
        self.convert("CLIPBOARD", self.atom("MULTIPLE"), list);
        self.tell(self.is_answered() ? "answered" : "refused");
        std::string left;
        std::vector<unsigned long> pairs = values_of(self.property(list)->bytes);
        for (size_t i = 1; i < pairs.size(); i += 2) {
            left += self.name(pairs[i]) + " ";
        }
        self.tell(left);
        // Each is sent in pieces of its own.
        self.tell(self.received(self.atom("A"))->type);
        self.tell(self.received(self.atom("C"))->bytes);
    });
    EXPECT_EQ(other.heard(), "answered");
    EXPECT_EQ(other.heard(), "A (none) C (none) (none) ");
    EXPECT_EQ(other.heard(), "STRING");
    EXPECT_TRUE(other.heard() == text);
}

TEST(X11Clipboard, InvalidListsOfTargetsAreRefused) {
    set_text("text");
    OtherProgram other([](Peer &self) {
        Atom list = self.atom("LIST");
        std::vector<unsigned long> endless(100000, self.atom("STRING"));
        const Contents lists[] = {
            {"ATOM_PAIR", 8, "bytes"},
            {"ATOM_PAIR", 16, "bytes."},
            {"STRING", 32, items({self.atom("STRING"), self.atom("A")})},
            {"ATOM_PAIR", 32, items(endless)},
        };
        std::string answers;
        for (const Contents &contents : lists) {
            self.set_property(list, contents);
            self.convert("CLIPBOARD", self.atom("MULTIPLE"), list);
            answers += self.is_answered() ? "answered " : "refused ";
        }
        XDeleteProperty(self.display, self.window, list);
        for (Atom property : {list, Atom{None}}) {
            self.convert("CLIPBOARD", self.atom("MULTIPLE"), property);
            answers += self.is_answered() ? "answered " : "refused ";
        }
        // Half a pair is ignored.
        self.set_property(list, {"ATOM_PAIR", 32, items({self.atom("STRING"), list, 7})});
        self.convert("CLIPBOARD", self.atom("MULTIPLE"), list);
        answers += self.is_answered() ? "answered" : "refused";
        self.tell(answers);
    });
    EXPECT_EQ(other.heard(), "refused refused refused refused refused refused answered");
    EXPECT_EQ(fetched("STRING"), "STRING 8: text");
}

TEST(X11Clipboard, OldProgramsThatNameNoPropertyGetTheTextInTheTargets) {
    set_text("text");
    OtherProgram other([](Peer &self) {
        self.convert("CLIPBOARD", self.atom("STRING"), None);
        self.is_answered();
        std::optional<Contents> contents = self.property(self.atom("STRING"));
        self.tell(contents ? contents->bytes : "(none)");
    });
    EXPECT_EQ(other.heard(), "text");
}

TEST(X11Clipboard, ForgedEventsAreIgnored) {
    set_text("text");
    Window owner = x11_helper_window();
    Window root = DefaultRootWindow(x11_display());
    OtherProgram other([&](Peer &self) {
        Window gone = XCreateSimpleWindow(self.display, root, 0, 0, 1, 1, 0, 0, 0);
        XDestroyWindow(self.display, gone);
        for (Window requestor : {gone, owner, Window{None}, Window{0x1fffffff}}) {
            for (const char *target : {"UTF8_STRING", "MULTIPLE", "TARGETS"}) {
                for (Atom property : {self.atom("A"), Atom{None}, Atom{0x7ffffff}}) {
                    XEvent event = {};
                    event.xselectionrequest.type = SelectionRequest;
                    event.xselectionrequest.owner = owner;
                    event.xselectionrequest.requestor = requestor;
                    event.xselectionrequest.selection = self.atom("CLIPBOARD");
                    event.xselectionrequest.target = self.atom(target);
                    event.xselectionrequest.property = property;
                    XSendEvent(self.display, owner, False, NoEventMask, &event);
                }
            }
        }
        XEvent event = {};
        event.xselectionclear.type = SelectionClear;
        event.xselectionclear.window = owner;
        event.xselectionclear.selection = self.atom("CLIPBOARD");
        XSendEvent(self.display, owner, False, NoEventMask, &event);
        event = {};
        event.xselection.type = SelectionNotify;
        event.xselection.requestor = owner;
        event.xselection.selection = self.atom("CLIPBOARD");
        event.xselection.property = self.atom("A");
        XSendEvent(self.display, owner, False, NoEventMask, &event);
        XSync(self.display, False);
        self.tell("sent");
    });
    EXPECT_EQ(other.heard(), "sent");
    EXPECT_EQ(got(), "text");
    EXPECT_EQ(fetched("UTF8_STRING"), "UTF8_STRING 8: text");
}

TEST(X11Clipboard, ATransferIntoTheProgramsOwnWindowCostsItNoEvents) {
    std::string text = long_text(300000);
    set_text(text);
    PlatformWindow *window = os_window_create(100, 100, str_from("Window"), WINDOW_FLAG_HIDDEN);
    Window id = reinterpret_cast<uintptr_t>(window->handle);
    auto selected_events = [&] {
        XWindowAttributes attributes;
        XGetWindowAttributes(x11_display(), id, &attributes);
        return attributes.your_event_mask;
    };
    long before = selected_events();
    OtherProgram other([&](Peer &self) {
        self.window = id;
        XSelectInput(self.display, id, PropertyChangeMask);
        Atom property = self.atom("FETCHED");
        self.convert("CLIPBOARD", self.atom("UTF8_STRING"), property);
        self.wait_for([&](const XEvent &event) {
            return event.type == PropertyNotify && event.xproperty.atom == property;
        });
        self.tell("begun");
        self.set_property(property, {"INCR", 32}); // a second notification
        self.tell(self.received(property)->bytes);
    });
    EXPECT_EQ(other.heard(), "begun");
    EXPECT_EQ(selected_events() & before, before);
    EXPECT_TRUE(other.heard() == text);
    EXPECT_EQ(selected_events(), before);
    os_window_destroy(window);
    os_free(window);
}

TEST(X11Clipboard, ProgramsThatVanishAfterAskingAreIgnored) {
    set_text(long_text(400000));
    for (int i = 0; i < 20; i++) {
        OtherProgram other([](Peer &self) {
            for (const char *target : text_targets) {
                self.convert("CLIPBOARD", self.atom(target), self.atom(target));
            }
            XSync(self.display, False);
            _exit(0);
        });
        EXPECT_EQ(other.heard(), "(ended)");
    }
    EXPECT_EQ(fetched("TIMESTAMP").substr(0, 11), "INTEGER 32:");
}

TEST(X11Clipboard, OwnTextIsReturnedUntilAnotherProgramTakesTheClipboard) {
    set_text("own");
    EXPECT_EQ(got(), "own");
    {
        std::function<void()> handle =
            std::exchange(handle_own_events, [] {}); // before the window's pump knows
        Owner owner({{"UTF8_STRING", {"UTF8_STRING", 8, "other"}}});
        EXPECT_EQ(got(), "other");
        handle_own_events = handle;
    }
    EXPECT_EQ(got(), "(none)"); // the owner has exited
    set_text("own again");
    EXPECT_EQ(got(), "own again");
}

// ---- In ----

TEST(X11Clipboard, TextComesInFromEachOfTheUsualTargets) {
    for (const char *target : text_targets) {
        std::string type = target == "TEXT"s ? "UTF8_STRING" : target;
        Owner owner({{target, {type, 8, "text"}}});
        EXPECT_EQ(got(), "text") << target;
    }
}

TEST(X11Clipboard, TheBestTargetIsTaken) {
    std::vector<Offer> offers = {{"STRING", {"STRING", 8, "STRING"}},
                                 {"TEXT", {"UTF8_STRING", 8, "TEXT"}},
                                 {"text/plain;charset=utf-8", {"text/plain;charset=utf-8", 8, "plain"}},
                                 {"UTF8_STRING", {"UTF8_STRING", 8, "UTF8_STRING"}}};
    for (const char *expected : {"UTF8_STRING", "plain", "TEXT", "STRING"}) {
        Owner owner(offers);
        EXPECT_EQ(got(), expected);
        offers.pop_back();
    }
}

TEST(X11Clipboard, Latin1ComesInAsUtf8) {
    Owner owner({{"STRING", {"STRING", 8, "gr\xf6\xdf\x65 \x7f\x80\xbf\xc0\xff"}}});
    EXPECT_EQ(got(), "größe \u007f\u0080\u00bf\u00c0\u00ff");
}

TEST(X11Clipboard, ATextOfAnUnknownTypeIsSkipped) {
    Owner owner({{"TEXT", {"COMPOUND_TEXT", 8, "\x1b%Gtext"}}, {"STRING", {"STRING", 8, "text"}}});
    EXPECT_EQ(got(), "text");
}

TEST(X11Clipboard, LongTextsComeInInPieces) {
    std::string text = long_text(3000000);
    for (size_t piece_size : {50000U, 262144U, 5000000U}) {
        Owner owner({{"UTF8_STRING", {"UTF8_STRING", 8, text}}}, piece_size);
        EXPECT_TRUE(got() == text) << piece_size;
    }
    Owner owner({{"STRING", {"STRING", 8, "gr\xf6\xdf\x65"}}}, 1);
    EXPECT_EQ(got(), "größe");
}

TEST(X11Clipboard, AnOwnerWithoutAListOfTargetsIsAskedForEachText) {
    OddOwner owner([](Peer &self, const XSelectionRequestEvent &request) {
        if (request.target == XA_STRING) {
            self.answer(request, {"STRING", 8, "text"});
        } else {
            self.refuse(request);
        }
    });
    EXPECT_EQ(got(), "text");
}

TEST(X11Clipboard, AnOwnerThatDoesNotAnswerHasNoText) {
    OtherProgram owner([](Peer &self) {
        self.own("CLIPBOARD");
        self.tell("owns");
        self.wait_for([](const XEvent &) { return false; });
    });
    EXPECT_EQ(owner.heard(), "owns");
    EXPECT_EQ(got(), "(none)");
    Owner after({{"UTF8_STRING", {"UTF8_STRING", 8, "after"}}});
    EXPECT_EQ(got(), "after");
}

TEST(X11Clipboard, AnAnswerThatComesTooLateIsNotTakenForTheNextOne) {
    OddOwner owner([](Peer &self, const XSelectionRequestEvent &first) {
        auto is_request = [](const XEvent &event) { return event.type == SelectionRequest; };
        XEvent second = self.wait_for(is_request);
        self.refuse(first);
        self.answer(second.xselectionrequest, {"ATOM", 32, items({XA_STRING})});
        XEvent third = self.wait_for(is_request);
        self.tell(self.name(third.xselectionrequest.target));
        self.answer(third.xselectionrequest, {"STRING", 8, "text"});
    });
    EXPECT_EQ(got(), "(none)");
    EXPECT_EQ(got(), "text");
    EXPECT_EQ(owner.heard(), "STRING"); // the only target in the list, so the list has arrived
}

TEST(X11Clipboard, AnOwnerThatVanishesInTheMiddleHasNoText) {
    for (int pieces = 0; pieces < 3; pieces++) {
        OddOwner owner([&](Peer &self, const XSelectionRequestEvent &request) {
            if (self.name(request.target) == "TARGETS") {
                self.answer(request, {"ATOM", 32, items({XA_STRING})});
                return;
            }
            XSelectInput(self.display, request.requestor, PropertyChangeMask);
            self.answer(request, {"INCR", 32, items({1000})});
            for (int i = 0; i < pieces; i++) {
                self.wait_for([](const XEvent &event) {
                    return event.type == PropertyNotify && event.xproperty.state == PropertyDelete;
                });
                XChangeProperty(self.display, request.requestor, request.property, XA_STRING, 8,
                                PropModeReplace, reinterpret_cast<const unsigned char *>("piece"), 5);
            }
            XSync(self.display, False);
            _exit(0);
        });
        EXPECT_EQ(got(), "(none)") << pieces;
    }
}

TEST(X11Clipboard, ATransferThatWasGivenUpDoesNotGetIntoTheNextOne) {
    struct Sending {
        Atom property;
        std::vector<std::string> pieces;
    };
    OtherProgram owner([](Peer &self) {
        self.own("CLIPBOARD");
        self.tell("owns");
        std::vector<Sending> all;
        for (;;) {
            XEvent event;
            XNextEvent(self.display, &event);
            const XSelectionRequestEvent &request = event.xselectionrequest;
            if (event.type == SelectionRequest && self.name(request.target) == "TARGETS") {
                self.answer(request, {"ATOM", 32, items({XA_STRING})});
            } else if (event.type == SelectionRequest) {
                XSelectInput(self.display, request.requestor, PropertyChangeMask);
                self.answer(request, {"INCR", 32, items({3})});
                bool is_first = all.empty();
                std::string piece = is_first ? "old" : "new";
                all.push_back({request.property, {piece, piece, piece, ""}});
                if (is_first) { // busy until the text is asked for again
                    XPeekIfEvent(
                        self.display, &event,
                        [](Display *, XEvent *next, XPointer) -> Bool {
                            return next->type == SelectionRequest;
                        },
                        nullptr);
                }
            } else if (event.type == PropertyNotify && event.xproperty.state == PropertyDelete) {
                for (Sending &sending : all) {
                    if (sending.property == event.xproperty.atom && !sending.pieces.empty()) {
                        std::string piece = sending.pieces.front();
                        sending.pieces.erase(sending.pieces.begin());
                        XChangeProperty(self.display, event.xproperty.window, sending.property, XA_STRING, 8,
                                        PropModeReplace,
                                        reinterpret_cast<const unsigned char *>(piece.data()),
                                        static_cast<int>(piece.size()));
                        break;
                    }
                }
            }
        }
    });
    EXPECT_EQ(owner.heard(), "owns");
    EXPECT_EQ(got(), "(none)");
    EXPECT_EQ(got(), "newnewnew");
}

TEST(X11Clipboard, ATransferWithoutAnEndIsGivenUp) {
    OddOwner owner([](Peer &self, const XSelectionRequestEvent &request) {
        if (self.name(request.target) == "TARGETS") {
            self.answer(request, {"ATOM", 32, items({XA_STRING})});
            return;
        }
        XSelectInput(self.display, request.requestor, PropertyChangeMask);
        self.answer(request, {"INCR", 32, items({1})});
        for (;;) {
            self.wait_for([](const XEvent &event) {
                return event.type == PropertyNotify && event.xproperty.state == PropertyDelete;
            });
            XChangeProperty(self.display, request.requestor, request.property, XA_STRING, 8, PropModeReplace,
                            reinterpret_cast<const unsigned char *>("piece"), 5);
        }
    });
    EXPECT_EQ(got(), "(none)");
}

TEST(X11Clipboard, InvalidAnswersGiveNoText) {
    const Contents answers[] = {
        {"UTF8_STRING", 16, "text"},
        {"UTF8_STRING", 32, items({1, 2})},
        {"INTEGER", 8, "text"},
        {"image/png", 8, "text"},
    };
    for (const Contents &answer : answers) {
        Owner owner({{"UTF8_STRING", answer}});
        EXPECT_EQ(got(), "(none)") << answer.type << answer.format;
    }
    // It announces a property that does not exist.
    OddOwner owner([](Peer &self, const XSelectionRequestEvent &request) {
        XSelectionRequestEvent other = request;
        other.property = self.atom("ELSEWHERE");
        self.answer(other, {"STRING", 8, "text"});
    });
    EXPECT_EQ(got(), "(none)");
}

TEST(X11Clipboard, OddListsOfTargetsAreSurvived) {
    const Contents lists[] = {
        {"ATOM", 32, ""},
        {"ATOM", 8, "abc"},
        {"INTEGER", 16, "abcd"},
        {"ATOM", 32, items(std::vector<unsigned long>(100000, 0xffffffff))},
    };
    for (const Contents &list : lists) {
        Owner owner({{"TARGETS", list}, {"UTF8_STRING", {"UTF8_STRING", 8, "text"}}});
        std::string text = got();
        bool is_list = list.format == 32 && list.bytes.empty(); // valid, without targets
        EXPECT_EQ(text, is_list ? "(none)" : "text") << list.type << list.format;
    }
}

TEST(X11Clipboard, TextsLongerThanTheProgramCanSetAreIgnored) {
    std::string text(3 * 8388608, 'x');
    Owner longest({{"STRING", {"STRING", 8, text}}}, 1000000);
    EXPECT_TRUE(got() == text);
    text += 'x';
    {
        Owner longer({{"STRING", {"STRING", 8, text}}}, 1000000);
        EXPECT_EQ(got(), "(none)");
    }
    // The same as a whole, put together by the server.
    constexpr size_t part = 1000000;
    OddOwner longer([&](Peer &self, const XSelectionRequestEvent &request) {
        if (request.target != XA_STRING) {
            self.refuse(request);
            return;
        }
        for (size_t at = 0; at < text.size(); at += part) {
            XChangeProperty(self.display, request.requestor, request.property, XA_STRING, 8, PropModeAppend,
                            reinterpret_cast<const unsigned char *>(text.data() + at),
                            static_cast<int>(std::min(part, text.size() - at)));
        }
        self.notify(request, request.property);
    });
    EXPECT_EQ(got(), "(none)");
    EXPECT_EQ(answers_left(), 0); // the server does not keep it either
}

TEST(X11Clipboard, WhileItWaitsItSendsTheTextsThatItHasBegunToSend) {
    std::string text = long_text(2000000);
    set_text(text);
    OtherProgram reader([&](Peer &self) {
        Atom property = self.atom("FETCHED");
        self.convert("CLIPBOARD", self.atom("UTF8_STRING"), property);
        self.is_answered();
        self.tell("begun");
        // Becomes the silent owner, and goes on reading while the program asks it.
        self.own("CLIPBOARD");
        self.tell("owns");
        self.wait_for([](const XEvent &event) { return event.type == SelectionRequest; });
        self.tell(self.received(property)->bytes == text ? "all" : "other bytes");
    });
    EXPECT_EQ(reader.heard(), "begun");
    EXPECT_EQ(reader.heard(), "owns");
    EXPECT_EQ(got(), "(none)");
    std::function<void()> handle = std::exchange(handle_own_events, [] {}); // everything has been sent
    EXPECT_EQ(reader.heard(), "all");
    handle_own_events = handle;
}

// ---- The clipboard manager ----

namespace {

// A manager that reports what it is asked to save, saves it and offers it. Without answers it hangs.
OtherProgram::Run manager(bool answers) {
    return [answers](Peer &self) {
        self.own("CLIPBOARD_MANAGER");
        self.tell("manages");
        XEvent event = self.wait_for([](const XEvent &one) { return one.type == SelectionRequest; });
        if (!answers) {
            self.wait_for([](const XEvent &) { return false; });
        }
        self.tell(self.name(event.xselectionrequest.target));
        std::optional<Contents> text = self.fetch("CLIPBOARD", "UTF8_STRING");
        self.own("CLIPBOARD");
        self.answer(event.xselectionrequest, {"NULL", 32});
        self.tell(text ? text->bytes : "(none)");
        self.serve({{"UTF8_STRING", {"UTF8_STRING", 8, text ? text->bytes : ""}}});
    };
}

} // namespace

TEST(X11Clipboard, TheManagerIsGivenTheTextWhenTheLastWindowCloses) {
    std::string text = long_text(1000000);
    set_text(text);
    OtherProgram other(manager(true));
    EXPECT_EQ(other.heard(), "manages");
    PlatformWindow *windows[] = {os_window_create(100, 100, str_from("1"), WINDOW_FLAG_HIDDEN),
                                 os_window_create(100, 100, str_from("2"), WINDOW_FLAG_HIDDEN)};
    for (PlatformWindow *window : windows) {
        EXPECT_EQ(XGetSelectionOwner(x11_display(), x11_atom(ATOM_CLIPBOARD)), x11_helper_window());
        os_window_destroy(window);
        os_free(window);
    }
    EXPECT_EQ(other.heard(), "SAVE_TARGETS");
    EXPECT_TRUE(other.heard() == text);
    EXPECT_TRUE(got() == text); // from the manager
}

TEST(X11Clipboard, WithoutAManagerOrATextNothingIsHandedOver) {
    clipboard_hand_over();
    set_text("text");
    clipboard_hand_over();
    EXPECT_EQ(got(), "text");
    Owner owner({{"UTF8_STRING", {"UTF8_STRING", 8, "other"}}});
    OtherProgram other(manager(false));
    EXPECT_EQ(other.heard(), "manages");
    clipboard_hand_over(); // another program's text is not handed over
    EXPECT_EQ(got(), "other");
}

TEST(X11Clipboard, AManagerThatDoesNotAnswerIsNotWaitedForForever) {
    set_text("text");
    OtherProgram other(manager(false));
    EXPECT_EQ(other.heard(), "manages");
    clipboard_hand_over();
    EXPECT_EQ(got(), "text");
}
