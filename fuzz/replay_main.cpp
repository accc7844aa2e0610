// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Runs a fuzz target once on every file of the folders and files named on the command line. It
// fails if there was none, since a test of nothing proves nothing.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> inputsOf(int count, char** names)
{
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < count; ++i) {
        if (!std::filesystem::is_directory(names[i])) {
            files.emplace_back(names[i]);
            continue;
        }
        for (auto const& entry : std::filesystem::directory_iterator(names[i])) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::filesystem::path> const files = inputsOf(argc - 1, argv + 1);
    for (auto const& path : files) {
        // Said first, so that a crash has a name.
        printf("%s\n", path.filename().c_str());
        fflush(stdout);
        std::ifstream file(path, std::ios::binary);
        // In a vector of exactly its size, so that a sanitizer sees every read beyond it.
        std::vector<std::uint8_t> const bytes((std::istreambuf_iterator<char>(file)), {});
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return files.empty() ? 1 : 0;
}
