// data/partition.cpp - width against length: how the data area is cut, and how it is cut anew.
//
// From the bottom the area holds the observation table, the sort's second table of the same size,
// and from the next 16-byte boundary the rows; M_dyn bytes at the top stay free. The wider a row,
// the fewer there are. A change moves rows that may overlap their own new places and those of
// others; nothing is committed, and no byte moved, before it is known to succeed.
//
// The area may be address space of many gigabytes, so nothing here touches more than the rows in
// use: slots of the observation table are initialised as nobs grows (ready_slots), tobs tells how
// far. The slots 0 .. tobs - 1 are at all times a permutation of the numbers 0 .. tobs - 1.
//
// A move cannot be undone half way, so it does not look for breaks; the flag waits for the next
// loop. The stress build moves the rows at every growth, needed or not, with the least headroom, so
// that addresses kept too long show at once.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/print.h"
#include "core/return_codes.h"
#include "data/dataset.h"

namespace korva {

namespace {

constexpr int64_t kNarrowestRow = 4;
constexpr int64_t kFirstWidth = 32;  // eight floats: most small data need no first change
constexpr int64_t kMostObs = 0x7FFFFFFF;
constexpr int64_t kSlotStep = 16384;      // slots initialised at a time: 64 KB
constexpr ReturnCode kShortOfObs = 9996;  // fewer observations gained than asked for
constexpr ReturnCode kShortOfWidth = 9997;
constexpr ReturnCode kSystemFailure = 9995;  // the observation table is no permutation; told
                                             // already
#ifdef KORVA_STRESS
constexpr int64_t kMostStressMoves = 2000;  // rows up to which a growth without need moves them
#endif

struct Layout {
    int64_t width = 0;  // bytes per row
    uint32_t* slot2 = nullptr;
    uint8_t* rows = nullptr;
    uint64_t row_bytes = 0;
    int64_t capacity = 0;  // observations: the lesser of slots and rows
};

int64_t area_bytes() {
    return dataset.end - dataset.begin;
}
int64_t data_bytes() {
    return area_bytes() - int64_t(dataset.M_dyn);
}

// Cuts the area for rows of `width` bytes; false if that is impossible.
bool lay_out(int64_t width, Layout* layout) {
    if (width < kNarrowestRow || area_bytes() <= 16) return false;
    const int64_t slots = (area_bytes() - 16) / (width + 8);
    if (slots > kMostObs) return false;
    layout->width = width;
    layout->slot2 = reinterpret_cast<uint32_t*>(dataset.begin) + slots;
    const uint64_t tables = (uint64_t(slots) * 8 + 15) / 16 * 16;  // the area begins on a page
    layout->rows = dataset.begin + tables;
    if (dataset.rows == layout->rows) layout->rows += kAreaSlack;  // moves in a stress build
    const int64_t row_bytes = area_bytes() - int64_t(tables);
    layout->row_bytes = uint64_t(std::max<int64_t>(row_bytes, 0));
    const int64_t usable = std::max<int64_t>(row_bytes - int64_t(dataset.M_dyn), 0);
    layout->capacity = std::min(slots, usable / width);
    return true;
}

// The widest partition with room for n observations; 901 if there is none.
ReturnCode lay_out_for_obs(int64_t n, Layout* layout) {
    if (n < 1 || n > kMostObs) return 901;
    int64_t width = (data_bytes() - 16) / n - 8;
    if (width % 2 != 0) width--;
    for (; width > 0 && width >= used_width(); width -= 2) {
        if (!lay_out(width, layout)) return 901;
        if (layout->capacity >= n) return 0;
    }
    return 901;
}

// Puts the rows of all observations into the first nobs places of the row area, in whatever order,
// by swapping slots with free places there.
ReturnCode gather_rows_low() {
    const uint32_t nobs = uint32_t(dataset.nobs);
    const uint64_t pitch = uint64_t(uint32_t(dataset.lrecl));
    const size_t width = size_t(used_width());
    uint32_t high = 0;  // position below nobs whose slot may lie above
    for (uint32_t low = nobs; low < uint32_t(dataset.tobs); low++) {
        if (dataset.slot[low] >= nobs) continue;
        while (high < nobs && dataset.slot[high] < nobs) high++;
        if (high == nobs) {
            out_error("System failure\n");
            return kSystemFailure;
        }
        std::memcpy(dataset.rows + dataset.slot[low] * pitch,
                    dataset.rows + dataset.slot[high] * pitch, width);
        std::swap(dataset.slot[low], dataset.slot[high]);
        dataset.n_shift++;
    }
    return 0;
}

// Makes the layout the partition in force. All checks are behind; only a damaged observation table
// fails, before anything has changed.
ReturnCode commit(const Layout& to) {
    int32_t ready = 0;
    if (dataset.nvar > 0) {
        if (ReturnCode rc = gather_rows_low()) return rc;
        const int64_t used = (int64_t(used_width()) + 31) / 32 * 32;  // whole vectors copy faster
        const int64_t bytes = std::min({used, int64_t(dataset.lrecl), to.width});
        move_rows(to.rows, to.width, dataset.rows, dataset.lrecl, dataset.nobs, size_t(bytes));
        ready = dataset.nobs;  // slots behind may lie under the new rows; they are filled again
    }
    dataset.n_repart++;
    dataset.slot2 = to.slot2;
    dataset.rows = to.rows;
    dataset.lrecl = int32_t(to.width);
    dataset.memsize = to.row_bytes;
    dataset.mobs = int32_t(to.capacity);
    dataset.mvar = int32_t(std::min<int64_t>(to.width, dataset.maxmaxvar));
    dataset.tobs = ready;
    ready_slots(int64_t(dataset.nobs) + 1);
    return 0;
}

// Moves the rows to another base at the same pitch; only the stress build does.
void move_for_stress() {
#ifdef KORVA_STRESS
    Layout layout;
    if (dataset.nobs > kMostStressMoves || !lay_out(dataset.lrecl, &layout)) return;
    if (layout.capacity > dataset.nobs && layout.rows != dataset.rows) commit(layout);
#endif
}

// The headroom to take: half of what there is, or what is needed if that is more.
int64_t with_headroom(int64_t needed, int64_t headroom) {
#ifdef KORVA_STRESS
    (void)headroom;
    return needed;
#else
    return std::max(needed, headroom);
#endif
}

}  // namespace

// Row r moves by base_change + r * pitch_change bytes. Those that go up are taken from the last
// back, the others from the first on, so no row is overwritten before it has been copied. Where the
// two kinds meet they do not disturb each other: with a larger pitch they part, with a smaller one
// the first that goes down ends up above the last that goes up, and below its own old place.
void move_rows(uint8_t* to, int64_t to_pitch, const uint8_t* from, int64_t from_pitch, int64_t n,
               size_t bytes) {
    const int64_t base_change = to - from;
    const int64_t pitch_change = to_pitch - from_pitch;
    int64_t first_up = 0;  // rows [first_up, last_up) go up
    int64_t last_up = n;
    if (pitch_change > 0) {
        if (base_change <= 0) first_up = std::min(n, -base_change / pitch_change + 1);
    } else if (pitch_change < 0) {
        const int64_t shrink = -pitch_change;
        last_up = base_change > 0 ? std::min(n, (base_change + shrink - 1) / shrink) : 0;
    } else if (base_change <= 0) {
        last_up = 0;
    }
    const auto move_row = [=](int64_t row) {
        std::memmove(to + row * to_pitch, from + row * from_pitch, bytes);
    };
    for (int64_t row = last_up - 1; row >= first_up; row--) move_row(row);
    for (int64_t row = 0; row < first_up; row++) move_row(row);
    for (int64_t row = last_up; row < n; row++) move_row(row);
}

bool lay_out_first_partition() {
#ifdef KORVA_STRESS
    int64_t width = kNarrowestRow;
#else
    int64_t width = kFirstWidth;
#endif
    // In an area of more than 80 GB there would be more rows than numbers for them.
    Layout layout;
    while (!lay_out(width, &layout) && width <= dataset.maxlrecl) width *= 2;
    if (layout.capacity < 1 || width > dataset.maxlrecl) return false;
    return commit(layout) == 0;
}

ReturnCode repart(int64_t d_width, int64_t d_obs) {
    if (d_width == 0 && d_obs == 0) return 0;
    Layout layout;
    if (d_width == 0) {
        if (ReturnCode rc = lay_out_for_obs(dataset.mobs + d_obs, &layout)) return rc;
    } else {
        int64_t width = dataset.lrecl + d_width;
        if (width % 2 != 0) width++;
        if (!lay_out(width, &layout)) return 901;
    }
    if (layout.width > dataset.maxlrecl) return 1010;
    if (layout.capacity < 1) return 902;
    if (layout.width == dataset.lrecl) return 0;
    if (used_width() > layout.width) return 901;
    if (dataset.nobs > layout.capacity) return 902;
    return commit(layout);
}

ReturnCode grow_obs(int64_t n) {
    if (n < 1) {
        move_for_stress();
        return 0;
    }
    const int64_t before = dataset.mobs;
    int64_t amount = with_headroom(n, (largest_obs() - before) / 2);
    ReturnCode rc = repart(0, amount);
    if (rc != 0 && rc < 9000 && amount > n) {
        amount = n;
        rc = repart(0, amount);
    }
    if (rc != 0) return rc;
    return dataset.mobs - before < amount ? kShortOfObs : 0;
}

ReturnCode grow_width(int64_t n) {
    if (n < 1) {
        move_for_stress();
        return 0;
    }
    n = std::max<int64_t>(n, 2);
    const int64_t before = dataset.lrecl;
    // Not more than the pitch there is: in an area of gigabytes, half of what is left would spread
    // a few narrow rows over all of it. Doubling keeps a loop that adds variables just as cheap.
    const int64_t headroom = std::min((largest_width() - before) / 2, before);
    int64_t amount = with_headroom(n, headroom);
    ReturnCode rc = repart(amount, 0);
    if (rc != 0 && rc < 9000 && amount > n) {
        amount = n;
        rc = repart(amount, 0);
    }
    if (rc != 0) return rc;
    return dataset.lrecl - before < amount ? kShortOfWidth : 0;
}

ReturnCode ensure_scratch_row() {
    if (ReturnCode rc = grow_obs(int64_t(dataset.nobs) + 1 - dataset.mobs)) return rc;
    ready_slots(int64_t(dataset.nobs) + 1);
    return 0;
}

void set_nobs(int32_t n) {
    dataset.nobs = n;
    ready_slots(int64_t(n) + 1);
}

void ready_slots(int64_t n) {
    if (n <= dataset.tobs) return;
    const int64_t stepped = (n + kSlotStep - 1) / kSlotStep * kSlotStep;
    const int64_t until = std::min(stepped, table_slots());
    for (int64_t i = dataset.tobs; i < until; i++) dataset.slot[i] = uint32_t(i);
    dataset.tobs = int32_t(std::max<int64_t>(until, dataset.tobs));
}

int64_t largest_obs() {
    const int64_t width = std::max(used_width(), 1);
    int64_t row = width + 4;
    if (row % 2 != 0) row++;
    const int64_t room = data_bytes() - 16 - 4 * int64_t(dataset.M_dyn) / (row - 4);
    const int64_t most = std::min(std::max<int64_t>(room, 0) / (row + 4), kMostObs);
    return std::max<int64_t>(most, dataset.mobs);
}

int32_t largest_width() {
    // rows * width + 8 * (rows + 1) + M_dyn * 8 / width = room, solved for the width.
    const double n = std::max(dataset.nobs, 1);
    const double b = 8 * (n + 1) - double(data_bytes() - 16);
    const double c = 8 * double(dataset.M_dyn);
    const double discriminant = b * b - 4 * n * c;
    if (discriminant < 0) return dataset.lrecl;
    const double solution = (-b + std::sqrt(discriminant)) / (2 * n);
    int32_t width = int32_t(std::clamp(solution, 0.0, double(dataset.maxlrecl)));
    if (width % 2 != 0) width--;
    return std::max(width, dataset.lrecl);
}

ReturnCode report_no_room(ReturnCode code) {
    switch (code) {
    case 0:
    case kBreak:
    case kSystemFailure: return code;
    case kShortOfObs: return ReportError(901);
    case kShortOfWidth: return ReportError(902);
    default: return ReportError(code);
    }
}

}  // namespace korva
