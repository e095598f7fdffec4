// A TrueType font made for a test: every character has a shape of its own, as large as an ideograph. Stands
// in for the fallback fonts of users.
#pragma once

#include <stdint.h>

#include <string>
#include <utility>
#include <vector>

// The first and the last code point of a range.
using CodePoints = std::pair<uint32_t, uint32_t>;

// Ideographs and emoji.
inline const std::vector<CodePoints> ideographs = {{0x3000, 0x30FF}, {0x4E00, 0x9FFF}};
inline const std::vector<CodePoints> ideographs_and_emoji = {
    {0x3000, 0x30FF}, {0x4E00, 0x77FF}, {0x1F600, 0x1F64F}};

class TestFont {
public:
    static constexpr int units_per_em = 1000, ascender = 880, descender = -120;

    // The file. Code points in ranges, which ascend, have a glyph that is one em wide.
    static std::string file(const std::vector<CodePoints> &ranges, int units = units_per_em) {
        std::string groups, glyf, loca, hmtx;
        uint32_t glyph_count = 0;
        const auto add = [&](uint32_t code_point) {
            loca += u32(glyf.size());
            glyf += outline(code_point);
            hmtx += u16(units_per_em) + u16(0);
            glyph_count++;
        };
        add(0);
        for (const auto &[first, last] : ranges) {
            groups += u32(first) + u32(last) + u32(glyph_count);
            for (uint32_t code_point = first; code_point <= last; code_point++) {
                add(code_point);
            }
        }
        loca += u32(glyf.size());
        std::string cmap = u16(0) + u16(1) + u16(3) + u16(10) + u32(12) + // one table, of all of Unicode
                           u16(12) + u16(0) + u32(16 + groups.size()) + u32(0) + u32(ranges.size()) + groups;
        std::string head(54, '\0'), hhea(36, '\0');
        head.replace(18, 2, u16(units));
        head.replace(50, 2, u16(1)); // loca has 32 bits
        hhea.replace(4, 4, u16(ascender) + u16(descender));
        hhea.replace(34, 2, u16(static_cast<int>(glyph_count)));
        return with_directory({{"cmap", cmap},
                               {"glyf", glyf},
                               {"head", head},
                               {"hhea", hhea},
                               {"hmtx", hmtx},
                               {"loca", loca},
                               {"maxp", u32(0x10000) + u16(static_cast<int>(glyph_count))}});
    }

private:
    static std::string u16(int number) {
        return {static_cast<char>(number >> 8), static_cast<char>(number)};
    }
    static std::string u32(size_t number) {
        return u16(static_cast<int>(number >> 16 & 0xFFFF)) + u16(static_cast<int>(number & 0xFFFF));
    }

    struct Contour {
        int left, bottom, right, top;
        bool is_hole;
    };

    // A frame around those of 3 by 3 squares whose bits are set in the code point; the frame of an emoji is
    // thick, and glyph 0 is a bar.
    static std::string outline(uint32_t code_point) {
        std::vector<Contour> contours;
        if (code_point == 0) {
            contours = {{100, 0, 900, 200, false}};
        } else if (code_point != 0x3000) { // a space as wide as an ideograph
            const int border = code_point < 0x10000 ? 80 : 160;
            contours = {{40, -90, 960, 830, false},
                        {40 + border, -90 + border, 960 - border, 830 - border, true}};
            for (int bit = 0; bit < 9; bit++) {
                if (code_point >> bit & 1) {
                    const int left = 240 + bit % 3 * 190, bottom = 110 + bit / 3 * 190;
                    contours.push_back({left, bottom, left + 140, bottom + 140, false});
                }
            }
        }
        return contours.empty() ? "" : glyph(contours);
    }

    static std::string glyph(const std::vector<Contour> &contours) {
        std::string ends, xs, ys;
        int x = 0, y = 0, points = 0;
        for (const Contour &c : contours) {
            // Clockwise; a hole the other way round.
            const int corners[4][2] = {{c.left, c.bottom},
                                       {c.is_hole ? c.right : c.left, c.is_hole ? c.bottom : c.top},
                                       {c.right, c.top},
                                       {c.is_hole ? c.left : c.right, c.is_hole ? c.top : c.bottom}};
            for (const auto &[corner_x, corner_y] : corners) {
                xs += u16(corner_x - x);
                ys += u16(corner_y - y);
                x = corner_x;
                y = corner_y;
            }
            points += 4;
            ends += u16(points - 1);
        }
        const Contour &outer = contours[0];
        const std::string flags(static_cast<size_t>(points), '\1'); // on the curve, coordinates in 16 bits
        std::string all = u16(static_cast<int>(contours.size())) + u16(outer.left) + u16(outer.bottom) +
                          u16(outer.right) + u16(outer.top) + ends + u16(0) + flags + xs + ys;
        all.resize((all.size() + 3) / 4 * 4);
        return all;
    }

    static std::string with_directory(const std::vector<std::pair<std::string, std::string>> &tables) {
        const size_t head_size = 12 + 16 * tables.size();
        std::string rows, data;
        for (const auto &[tag, table] : tables) {
            rows += tag + u32(0) + u32(head_size + data.size()) + u32(table.size());
            data += table;
            data.resize((data.size() + 3) / 4 * 4);
        }
        return u32(0x10000) + u16(static_cast<int>(tables.size())) + std::string(6, '\0') + rows + data;
    }
};
