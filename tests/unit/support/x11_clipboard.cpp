#include <memory>

#include "support/drop_source.h"
#include "support/other_program.h"
#include "support/system_clipboard.h"

namespace {

std::unique_ptr<OtherProgram> owner;

void add(std::vector<Offer> *offers, const char *target, const char *type,
         const std::optional<std::string> &bytes) {
    if (bytes) {
        offers->push_back({target, {type, 8, *bytes}});
    }
}

} // namespace

bool clipboard_can_be_held() {
    return false;
}

void hold_clipboard(void *) {}

// The bytes of texts are the target TEXT, whose owner chooses the encoding.
void offer_on_clipboard(const ClipboardFormats &formats) {
    std::vector<Offer> offers;
    add(&offers, "UTF8_STRING", "UTF8_STRING", formats.wide_text);
    add(&offers, "TEXT", "C_STRING", formats.byte_text);
    if (formats.file_name) {
        offers.push_back(offer_of_files({*formats.file_name}));
    }
    add(&offers, "image/png", "image/png", formats.png);
    owner.reset();
    owner = std::make_unique<OtherProgram>([&](Peer &self) {
        self.own("CLIPBOARD");
        self.tell("owns");
        self.serve(offers);
    });
    owner->heard();
}

ClipboardFormats clipboard_formats() {
    static constexpr const char *targets[] = {"UTF8_STRING", "TEXT", "text/uri-list", "image/png"};
    OtherProgram other([](Peer &self) {
        for (const char *target : targets) {
            std::optional<Contents> contents = self.fetch("CLIPBOARD", target);
            self.tell(contents ? "+" + contents->bytes : "-");
        }
    });
    ClipboardFormats formats;
    std::optional<std::string> *const all[] = {&formats.wide_text, &formats.byte_text, &formats.file_name,
                                               &formats.png};
    for (std::optional<std::string> *format : all) {
        std::string message = other.heard();
        *format = message[0] == '+' ? std::optional(message.substr(1)) : std::nullopt;
    }
    return formats;
}

bool close_open_clipboard() {
    return false;
}
