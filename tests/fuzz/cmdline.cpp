// The command-line parser, on the input's NUL-separated parts as arguments.
// Whatever they are, it settles on going on or on status 1, and each setting
// it reports is one the window can take.
#include "app/CommandLine.h"
#include "tests/fuzz/FuzzCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The usage text would flood the fuzzer's own output.
    if (!std::freopen("/dev/null", "w", stdout))
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    using Setting = CommandLine::Setting;
    QList<QByteArray> args = QByteArray(reinterpret_cast<char const*>(data), qsizetype(size)).split('\0');
    if (args.size() > 64)
        return 0;
    args.prepend("sorvan");
    QList<char*> argv;
    for (QByteArray& arg : args)
        argv.append(arg.data());
    argv.append(nullptr);

    QList<Setting> settings;
    int const status = CommandLine::parse(int(args.size()), argv.data(), settings);
    FUZZ_CHECK(status == -1 || status == 1);
    for (Setting const& setting : settings) {
        if (setting.kind == Setting::Mode || setting.kind == Setting::State)
            FUZZ_CHECK(setting.index >= 0 && setting.index <= (setting.kind == Setting::Mode ? 1 : 3));
        // Inside one of the arguments: what the window keeps must be there.
        if (setting.kind == Setting::Regexp || setting.kind == Setting::DisableRepo
            || setting.kind == Setting::EnableRepo)
            FUZZ_CHECK(std::any_of(args.cbegin(), args.cend(), [&](QByteArray const& arg) {
                return setting.argument >= arg.constData()
                    && setting.argument <= arg.constData() + arg.size();
            }));
    }
    return 0;
}
