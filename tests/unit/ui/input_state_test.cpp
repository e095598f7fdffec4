#include "ui/input_state.h"

#include <gtest/gtest.h>

#include <vector>

#include "os/clock.h"
#include "support/heap_hook.h"
#include "support/ui_scope.h"

static bool operator==(const Point &a, const Point &b) {
    return a.x == b.x && a.y == b.y;
}

namespace {

const InputSlot &slot(uint16_t number) {
    return input_state.slots[number];
}

// The slots with any state bit set.
std::vector<int> slots_with_bits() {
    std::vector<int> numbers;
    for (int i = 0; i < input_slot_count; i++) {
        if (input_state.slots[i].state != 0) {
            numbers.push_back(i);
        }
    }
    return numbers;
}

} // namespace

// ---- Memory ----

TEST(InputState, IsOneZeroedBlockOf32000BytesMadeAtTheFirstFrame) {
    UiScope scope;
    std::vector<uint64_t> sizes;
    HeapHookScope hook([&](uint64_t size) {
        sizes.push_back(size);
        return true;
    });
    EXPECT_EQ(input_state.slots, nullptr);
    ui_begin_frame();
    ui_begin_frame();
    ui_press(KEY_A, {1, 2});
    EXPECT_EQ(sizes, std::vector<uint64_t>{32000});
    EXPECT_LE(sizeof(InputSlot) * input_slot_count, 32000u);
    ui_begin_frame();
    ui_release_all();
    ui_begin_frame();
    EXPECT_EQ(slots_with_bits(), std::vector<int>{});
}

TEST(InputState, IsMadeByAnEventThatComesBeforeTheFirstFrame) {
    UiScope scope;
    ui_pointer_moved({3, 4});
    EXPECT_EQ(ui_pointer_position(), (Point{3, 4}));
}

TEST(InputState, WithoutMemoryNothingIsDownAndALaterUseTriesAgain) {
    UiScope scope;
    {
        HeapHookScope hook([](uint64_t) { return false; });
        ui_begin_frame();
        ui_press(MOUSE_LEFT, {1, 1});
        ui_release(KEY_A, {1, 1});
        ui_pointer_moved({5, 5});
        ui_wheel_turned(1, {1, 1});
        ui_release_all();
        ui_begin_frame();
        EXPECT_EQ(input_state.slots, nullptr);
        EXPECT_EQ(input_state.wheel_steps, 0);
        EXPECT_FALSE(ui_is_down(MOUSE_LEFT));
        EXPECT_FALSE(ui_went_down(MOUSE_LEFT));
        EXPECT_FALSE(ui_consume_press(MOUSE_LEFT));
        EXPECT_EQ(ui_pointer_position(), (Point{0, 0}));
    }
    ui_press(MOUSE_LEFT, {1, 1});
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT));
}

TEST(InputState, QuestionsBeforeTheFirstUseReserveNothing) {
    UiScope scope;
    EXPECT_FALSE(ui_is_down(KEY_SHIFT));
    EXPECT_FALSE(ui_went_down(KEY_SHIFT));
    EXPECT_FALSE(ui_consume_press(KEY_SHIFT));
    EXPECT_EQ(ui_pointer_position(), (Point{0, 0}));
    EXPECT_EQ(input_state.slots, nullptr);
}

TEST(InputState, EverySixteenBitCodeIsAccepted) {
    UiScope scope;
    int down = 0;
    for (uint32_t code = 0; code <= UINT16_MAX; code++) {
        ui_press(static_cast<uint16_t>(code), {1, 1});
        bool is_down = ui_is_down(static_cast<uint16_t>(code));
        EXPECT_EQ(is_down, code < input_slot_count) << code;
        down += is_down;
        ui_consume_press(static_cast<uint16_t>(code));
        ui_release(static_cast<uint16_t>(code), {1, 1});
    }
    EXPECT_EQ(down, input_slot_count);
    EXPECT_GE(input_slot_count, 0x107); // every virtual key and every button has a slot
}

// ---- Presses and releases ----

TEST(InputState, APressSetsWentDownAndIsDownWithItsPlaceAndTime) {
    UiScope scope;
    ui_begin_frame();
    int64_t before = os_ticks();
    ui_press(MOUSE_RIGHT, {-5, 700});
    int64_t after = os_ticks();
    EXPECT_EQ(slot(MOUSE_RIGHT).state, INPUT_WENT_DOWN | INPUT_IS_DOWN);
    EXPECT_EQ(slot(MOUSE_RIGHT).transitions, 1u);
    EXPECT_EQ(slot(MOUSE_RIGHT).press_position, (Point{-5, 700}));
    EXPECT_GE(slot(MOUSE_RIGHT).press_ticks, before);
    EXPECT_LE(slot(MOUSE_RIGHT).press_ticks, after);
    EXPECT_EQ(slot(MOUSE_RIGHT).release_ticks, 0);
    EXPECT_TRUE(ui_is_down(MOUSE_RIGHT));
    EXPECT_TRUE(ui_went_down(MOUSE_RIGHT));
    EXPECT_EQ(slots_with_bits(), std::vector<int>{MOUSE_RIGHT});
}

TEST(InputState, APressWhileDownSetsDownAgain) {
    UiScope scope;
    ui_press(KEY_LEFT, {1, 1});
    ui_begin_frame();
    ui_press(KEY_LEFT, {2, 2});
    EXPECT_EQ(slot(KEY_LEFT).state, INPUT_DOWN_AGAIN | INPUT_IS_DOWN);
    EXPECT_EQ(slot(KEY_LEFT).press_position, (Point{2, 2}));
    EXPECT_FALSE(ui_went_down(KEY_LEFT));
}

TEST(InputState, AReleaseClearsIsDownAndKeepsThePressPlace) {
    UiScope scope;
    ui_press(MOUSE_LEFT, {1, 2});
    ui_begin_frame();
    int64_t before = os_ticks();
    ui_release(MOUSE_LEFT, {3, 4});
    EXPECT_EQ(slot(MOUSE_LEFT).state, INPUT_WENT_UP);
    EXPECT_EQ(slot(MOUSE_LEFT).press_position, (Point{1, 2}));
    EXPECT_EQ(slot(MOUSE_LEFT).release_position, (Point{3, 4}));
    EXPECT_GE(slot(MOUSE_LEFT).release_ticks, before);
    EXPECT_LE(slot(MOUSE_LEFT).release_ticks, os_ticks());
    EXPECT_FALSE(ui_is_down(MOUSE_LEFT));
}

TEST(InputState, AReleaseWithoutAPressOnlyWentUp) {
    UiScope scope;
    ui_release(KEY_TAB, {1, 1});
    EXPECT_EQ(slot(KEY_TAB).state, INPUT_WENT_UP);
}

TEST(InputState, AWholeClickWithinOneFrameIsNoticed) {
    UiScope scope;
    ui_begin_frame();
    ui_press(MOUSE_LEFT, {1, 1});
    ui_release(MOUSE_LEFT, {1, 1});
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT));
    EXPECT_FALSE(ui_is_down(MOUSE_LEFT));
    EXPECT_EQ(slot(MOUSE_LEFT).transitions, 2u);
    // A second, fast click is a press like any other.
    ui_press(MOUSE_LEFT, {1, 1});
    EXPECT_EQ(slot(MOUSE_LEFT).state, INPUT_WENT_DOWN | INPUT_WENT_UP | INPUT_IS_DOWN);
    EXPECT_EQ(slot(MOUSE_LEFT).transitions, 3u);
    EXPECT_EQ(input_state.changed_count, 1u); // listed once
}

TEST(InputState, AFrameBeginsWithOnlyWhatIsStillDown) {
    UiScope scope;
    ui_begin_frame();
    ui_press(KEY_SHIFT, {1, 1});
    ui_press(KEY_A, {1, 1});
    ui_press(KEY_A, {1, 1});
    ui_release(KEY_A, {1, 1});
    ui_begin_frame();
    EXPECT_EQ(slot(KEY_SHIFT).state, INPUT_IS_DOWN);
    EXPECT_EQ(slot(KEY_SHIFT).transitions, 0u);
    EXPECT_EQ(slot(KEY_A).state, 0);
    EXPECT_EQ(slot(KEY_A).transitions, 0u);
    EXPECT_EQ(input_state.changed_count, 0u);
    ui_begin_frame();
    EXPECT_TRUE(ui_is_down(KEY_SHIFT)); // as long as it is held
}

TEST(InputState, AConsumedPressIsGoneForTheFrameButStaysDown) {
    UiScope scope;
    ui_begin_frame();
    ui_press(MOUSE_LEFT, {1, 1});
    EXPECT_TRUE(ui_consume_press(MOUSE_LEFT));
    EXPECT_FALSE(ui_consume_press(MOUSE_LEFT));
    EXPECT_FALSE(ui_went_down(MOUSE_LEFT));
    EXPECT_TRUE(ui_is_down(MOUSE_LEFT));
    EXPECT_FALSE(ui_consume_press(MOUSE_RIGHT));
    ui_press(MOUSE_RIGHT, {1, 1});
    ui_release(MOUSE_RIGHT, {1, 1});
    EXPECT_TRUE(ui_consume_press(MOUSE_RIGHT));
    EXPECT_EQ(slot(MOUSE_RIGHT).state, INPUT_WENT_UP);
    ui_begin_frame();
    EXPECT_EQ(slot(MOUSE_LEFT).state, INPUT_IS_DOWN);
    EXPECT_EQ(slot(MOUSE_LEFT).transitions, 0u);
}

// ---- Pointer and wheel ----

TEST(InputState, ThePointerStartsAtTheScreensOriginAndOnlyPointerMovedMovesIt) {
    UiScope scope;
    ui_begin_frame();
    EXPECT_EQ(ui_pointer_position(), (Point{0, 0}));
    ui_press(MOUSE_LEFT, {50, 60});
    EXPECT_EQ(ui_pointer_position(), (Point{0, 0}));
    ui_pointer_moved({-10, 20});
    ui_pointer_moved({-11, 21});
    EXPECT_EQ(ui_pointer_position(), (Point{-11, 21}));
    EXPECT_EQ(slot(SLOT_POINTER).transitions, 2u);
    ui_begin_frame();
    EXPECT_EQ(ui_pointer_position(), (Point{-11, 21}));
}

TEST(InputState, AFrameAfterAMotionKnowsWhereThePointerWas) {
    UiScope scope;
    ui_begin_frame();
    ui_pointer_moved({1, 2});
    EXPECT_EQ(slot(SLOT_POINTER).previous_position, (Point{0, 0}));
    EXPECT_EQ(input_state.moved_count, 1u);
    ui_begin_frame();
    EXPECT_EQ(input_state.moved_count, 0u);
    EXPECT_EQ(slot(SLOT_POINTER).previous_position, (Point{1, 2}));
    ui_pointer_moved({5, 6});
    EXPECT_EQ(slot(SLOT_POINTER).previous_position, (Point{1, 2}));
    EXPECT_EQ(ui_pointer_position(), (Point{5, 6}));
}

TEST(InputState, KeysAndButtonsKeepNoPreviousPosition) {
    UiScope scope;
    ui_press(MOUSE_LEFT, {7, 8});
    ui_begin_frame();
    EXPECT_EQ(slot(MOUSE_LEFT).previous_position, (Point{0, 0}));
}

TEST(InputState, TheWheelCountsTheStepsOfTheFrame) {
    UiScope scope;
    ui_begin_frame();
    ui_wheel_turned(1, {3, 4});
    ui_wheel_turned(1, {3, 4});
    ui_wheel_turned(-1, {5, 6});
    EXPECT_EQ(input_state.wheel_steps, 1);
    EXPECT_TRUE(ui_went_down(SLOT_WHEEL));
    EXPECT_EQ(slot(SLOT_WHEEL).transitions, 3u);
    EXPECT_EQ(slot(SLOT_WHEEL).press_position, (Point{5, 6}));
    EXPECT_EQ(ui_pointer_position(), (Point{0, 0}));
    ui_begin_frame();
    EXPECT_EQ(input_state.wheel_steps, 0);
    EXPECT_FALSE(ui_went_down(SLOT_WHEEL));
}

TEST(InputState, KeysAndButtonsAreListedApartFromMotionAndWheel) {
    UiScope scope;
    ui_begin_frame();
    ui_pointer_moved({1, 1});
    ui_press(KEY_A, {1, 1});
    ui_wheel_turned(1, {1, 1});
    ui_press(MOUSE_LEFT, {1, 1});
    ASSERT_EQ(input_state.changed_count, 2u);
    EXPECT_EQ(input_state.changed[0], KEY_A);
    EXPECT_EQ(input_state.changed[1], MOUSE_LEFT);
    ASSERT_EQ(input_state.moved_count, 2u);
    EXPECT_EQ(input_state.moved[0], SLOT_POINTER);
    EXPECT_EQ(input_state.moved[1], SLOT_WHEEL);
}

// ---- Full lists and focus loss ----

TEST(InputState, MoreChangesThanTheListHoldsAreAllNoticedAndCleared) {
    for (uint16_t count : std::vector<uint16_t>{31, 32, 33, 200}) {
        UiScope scope;
        ui_begin_frame();
        ui_pointer_moved({9, 9});
        for (uint16_t code = 1; code <= count; code++) {
            ui_press(code, {1, 1});
        }
        for (uint16_t code = 1; code <= count; code++) {
            EXPECT_TRUE(ui_went_down(code)) << code;
        }
        EXPECT_EQ(input_state.changed_count, count < 32 ? count : 32u);
        EXPECT_EQ(input_state.list_was_full, count > 32);
        ui_begin_frame();
        for (uint16_t code = 1; code <= count; code++) {
            EXPECT_EQ(slot(code).state, INPUT_IS_DOWN) << code;
            EXPECT_EQ(slot(code).transitions, 0u) << code;
        }
        EXPECT_EQ(slot(SLOT_POINTER).previous_position, (Point{9, 9}));
        EXPECT_EQ(slot(1).previous_position, (Point{0, 0}));
        // The lists are used again from here on.
        ui_release(count, {1, 1});
        EXPECT_EQ(input_state.changed_count, 1u);
        EXPECT_FALSE(input_state.list_was_full);
        ui_begin_frame();
        EXPECT_EQ(slot(count).state, 0);
    }
}

TEST(InputState, LosingTheFocusReleasesWhatIsDownAsItsReleaseWould) {
    UiScope scope;
    ui_begin_frame();
    ui_pointer_moved({4, 5});
    ui_press(KEY_ALT, {1, 1});
    ui_press(KEY_TAB, {1, 1});
    ui_release(KEY_TAB, {2, 2});
    ui_begin_frame();
    ui_release_all();
    EXPECT_EQ(slot(KEY_ALT).state, INPUT_WENT_UP);
    EXPECT_EQ(slot(KEY_ALT).transitions, 1u);
    EXPECT_EQ(slot(KEY_ALT).release_position, (Point{4, 5}));
    EXPECT_NE(slot(KEY_ALT).release_ticks, 0);
    EXPECT_EQ(slot(KEY_TAB).state, 0);
    EXPECT_EQ(ui_pointer_position(), (Point{4, 5}));
    ui_begin_frame();
    EXPECT_EQ(slots_with_bits(), std::vector<int>{});
    // The next press is a fresh one.
    ui_press(KEY_ALT, {1, 1});
    EXPECT_TRUE(ui_went_down(KEY_ALT));
}

TEST(InputState, EverySlotMayBeDownWhenTheFocusGoes) {
    UiScope scope;
    for (uint16_t code = 0; code < input_slot_count; code++) {
        ui_press(code, {1, 1});
    }
    ui_release_all();
    ui_begin_frame();
    EXPECT_EQ(slots_with_bits(), std::vector<int>{});
}
