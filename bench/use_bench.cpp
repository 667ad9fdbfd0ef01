// bench/use_bench.cpp - use of a file of 4,000,000 observations beside a plain loop that reads the
// same file block by block and copies its rows to memory of the same pitch.
//
// The file is in the system's cache, and both sides write to memory that has been touched before.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "core/commands.h"
#include "core/scanner.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/dataset.h"
#include "data/skeleton.h"
#include "engine_run.h"
#include "yardstick.h"

namespace {

using namespace korva;

constexpr int kRows = 4000000;
constexpr int kRuns = 5;
constexpr size_t kBlockBytes = 24000;

struct Field {
    const char* name;
    StorageType type;
    const char* format;
};
constexpr Field kFields[] = {
    {"x", kDouble, "%10.0g"}, {"y", kFloat, "%9.0g"}, {"k", kLong, "%12.0g"},
    {"b", kByte, "%8.0g"},    {"s", 10, "%10s"},
};
constexpr int kFieldCount = int(std::size(kFields));

int row_width() {
    int width = 0;
    for (const Field& field : kFields) width += type_width(field.type);
    return width;
}

void append_text(std::string* file, const char* text, size_t bytes) {
    std::string field = text;
    field.resize(bytes);
    *file += field;
}

// All in front of the rows: format 113, this machine's byte order.
std::string file_head() {
    std::string file("\x71\x02\x01\x00", 4);
    const uint16_t nvar = kFieldCount;
    const int32_t nobs = kRows;
    file.append(reinterpret_cast<const char*>(&nvar), sizeof nvar);
    file.append(reinterpret_cast<const char*>(&nobs), sizeof nobs);
    append_text(&file, "", 81 + 18);
    for (const Field& field : kFields) file += char(field.type);
    for (const Field& field : kFields) append_text(&file, field.name, 33);
    append_text(&file, "", 2 * (kFieldCount + 1));
    for (const Field& field : kFields) append_text(&file, field.format, 12);
    append_text(&file, "", size_t(kFieldCount) * (33 + 81) + 5);
    return file;
}

// Row i as the file has it.
void make_row(int i, char* row) {
    const double x = i * 0.25;
    const float y = float(i % 1000) / 8;
    const int32_t k = i;
    memset(row, 0, size_t(row_width()));
    memcpy(row, &x, 8);
    memcpy(row + 8, &y, 4);
    memcpy(row + 12, &k, 4);
    row[16] = char(i % 100);
    memcpy(row + 17, "abcdefghij", size_t(i % 11));
}

// Writes the file; returns where its rows begin.
size_t write_file(const char* path) {
    const std::string head = file_head();
    FILE* file = std::fopen(path, "wb");
    if (!file) exit(1);
    std::fwrite(head.data(), 1, head.size(), file);
    std::vector<char> row(static_cast<size_t>(row_width()));
    for (int i = 0; i < kRows; i++) {
        make_row(i, row.data());
        std::fwrite(row.data(), 1, row.size(), file);
    }
    if (std::fclose(file)) exit(1);
    return head.size();
}

void plain_use(const char* path, size_t rows_at, uint8_t* rows, size_t pitch) {
    alignas(64) static uint8_t block[kBlockBytes];
    const size_t width = size_t(row_width()), block_rows = kBlockBytes / width;
    const int fd = open(path, O_RDONLY);
    failures += lseek(fd, off_t(rows_at), SEEK_SET) < 0;
    for (size_t done = 0; done < kRows; done += block_rows) {
        const size_t n = std::min(block_rows, size_t(kRows) - done);
        failures += read(fd, block, n * width) != ssize_t(n * width);
        for (size_t i = 0; i < n; i++) memcpy(rows + (done + i) * pitch, block + i * width, width);
    }
    close(fd);
}

void use(const char* path) {
    run(CmdUse, "\"" + std::string(path) + "\", clear");
}

void check_rows() {
    failures += dataset.nobs != kRows;
    std::vector<char> row(static_cast<size_t>(row_width()));
    for (int obs = 1; obs <= dataset.nobs; obs++) {
        make_row(obs - 1, row.data());
        failures += memcmp(rawrow(obs), row.data(), row.size()) != 0;
    }
}

}  // namespace

int main() {
    if (!StartEngineTables(2048, int64_t(400) << 20)) return 1;
    session.OutputThreshold = kThresholdQuiet;
    char path[] = "/tmp/use_bench_XXXXXX.dta";
    close(mkstemps(path, 4));
    const size_t rows_at = write_file(path);

    use(path);
    check_rows();
    const size_t pitch = size_t(dataset.lrecl);
    std::vector<uint8_t> rows(pitch * kRows);
    const double plain = fastest(kRuns, [&] { plain_use(path, rows_at, rows.data(), pitch); });
    const double engine = fastest(kRuns, [&] { use(path); });
    std::printf("  plain loop %.4f s, engine %.4f s\n", plain, engine);
    report("use, 27 bytes a row", engine / plain, 2.0);
    unlink(path);
    EndEngineTables();
    if (failures) std::printf("%d failures\n", failures);
    return failures ? 1 : 0;
}
