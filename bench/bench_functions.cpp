// SPDX-License-Identifier: BSD-3-Clause
// Throughput of the library's pure functions, on the descriptor and reports of the numbered
// telephony headset: the exported descriptor parser (with no logger, and with a logger that
// receives and drops every line), the report-parser library, report decoding and building, and
// the dictionary.

#include <hidapi_parser.h>
#include <hiddeviceinfo.h>
#include <hidparserbase.h>
#include <logger.h>
#include <virtualmodels.h>

#include <QFile>
#include <QString>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

namespace {

const hid::virt::DeviceDescription &headset()
{
    static const hid::virt::DeviceDescription description = hid::virt::findModel("telephony-headset")->interfaces.at(0);
    return description;
}

// The mute button's press report: report id 1, Hook Switch and Phone Mute on.
std::vector<unsigned char> muteReport()
{
    for (const hid::virt::Button &button : headset().buttons)
        if (button.name == "mute")
            return button.press;
    std::abort();
}

// Receives every line, as an application's logger does, and keeps none.
class DiscardingLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage &message) override { benchmark::DoNotOptimize(message.text()); }
};

void setBytesProcessed(benchmark::State &state, std::size_t bytesPerCall)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytesPerCall));
}

void parseReportData(benchmark::State &state, bool withLogger)
{
    DiscardingLogger logger;
    common::logger::SetLogger(withLogger ? &logger : nullptr);
    const std::vector<unsigned char> &descriptor = headset().descriptor;
    for (auto _ : state) {
        hid::HIDReportInfo info;
        benchmark::DoNotOptimize(hid::HIDParserBase::parseReportData(
            descriptor.data(), static_cast<unsigned short>(descriptor.size()), info));
    }
    common::logger::SetLogger(nullptr);
    setBytesProcessed(state, descriptor.size());
}

void BM_ParseReportData(benchmark::State &state)
{
    parseReportData(state, false);
}
BENCHMARK(BM_ParseReportData);

void BM_ParseReportDataWithDiscardingLogger(benchmark::State &state)
{
    parseReportData(state, true);
}
BENCHMARK(BM_ParseReportDataWithDiscardingLogger);

// The fields of one report id and type of the telephony collection.
struct ParsedHeadset
{
    hid::HIDReportInfo info;
    std::vector<hid::HIDReportItem *> inputs;
    std::vector<hid::HIDReportItem *> outputs;

    ParsedHeadset()
    {
        const std::vector<unsigned char> &descriptor = headset().descriptor;
        hid::HIDParserBase::parseReportData(descriptor.data(), static_cast<unsigned short>(descriptor.size()), info);
        hid::HIDCollection *collection = info.findCollection(0x0B, 0x05);
        info.findReportItems(collection, 1, hid::Input, inputs);
        info.findReportItems(collection, 2, hid::Output, outputs);
    }
};

void BM_DecodeReport(benchmark::State &state)
{
    ParsedHeadset parsed;
    std::vector<unsigned char> report = muteReport();
    for (auto _ : state)
        benchmark::DoNotOptimize(hid::HIDParserBase::decodeReport(
            report.data() + 1, static_cast<unsigned char>(report.size() - 1), parsed.inputs, 1, hid::Input));
    setBytesProcessed(state, report.size());
}
BENCHMARK(BM_DecodeReport);

void BM_MakeOutputReport(benchmark::State &state)
{
    ParsedHeadset parsed;
    for (hid::HIDReportItem *item : parsed.outputs)
        item->value = 1;
    unsigned char report[1] = {};
    for (auto _ : state) {
        benchmark::DoNotOptimize(hid::HIDParserBase::makeOutputReport(report, sizeof report, parsed.outputs, 2));
        benchmark::ClobberMemory();
    }
    setBytesProcessed(state, sizeof report);
}
BENCHMARK(BM_MakeOutputReport);

void BM_LibraryParseDescriptor(benchmark::State &state)
{
    const std::vector<unsigned char> &descriptor = headset().descriptor;
    for (auto _ : state) {
        hid_descriptor *parsed = hid_parse_descriptor(descriptor.data(), descriptor.size());
        benchmark::DoNotOptimize(parsed);
        std::free(parsed);
    }
    setBytesProcessed(state, descriptor.size());
}
BENCHMARK(BM_LibraryParseDescriptor);

void BM_LibraryParseInputReport(benchmark::State &state)
{
    const std::vector<unsigned char> &descriptor = headset().descriptor;
    hid_descriptor *parsed = hid_parse_descriptor(descriptor.data(), descriptor.size());
    const std::vector<unsigned char> report = muteReport();
    for (auto _ : state)
        benchmark::DoNotOptimize(hid_parse_input_report(report.data(), report.size(), parsed));
    std::free(parsed);
    setBytesProcessed(state, report.size());
}
BENCHMARK(BM_LibraryParseInputReport);

void BM_LibraryGetOutputReport(benchmark::State &state)
{
    const std::vector<unsigned char> &descriptor = headset().descriptor;
    hid_descriptor *parsed = hid_parse_descriptor(descriptor.data(), descriptor.size());
    for (auto _ : state) {
        std::size_t length = 0;
        unsigned char *report = hid_get_output_report(parsed, 2, &length);
        benchmark::DoNotOptimize(report);
        std::free(report);
    }
    std::free(parsed);
}
BENCHMARK(BM_LibraryGetOutputReport);

QString builtInTable()
{
    QFile resource(QStringLiteral(":headsets.json"));
    if (!resource.open(QIODevice::ReadOnly))
        std::abort();
    return QString::fromUtf8(resource.readAll());
}

void BM_DictionaryLoad(benchmark::State &state)
{
    const QString table = builtInTable();
    for (auto _ : state)
        hid::HidDeviceDict::init(table);
    setBytesProcessed(state, static_cast<std::size_t>(table.toUtf8().size()));
}
BENCHMARK(BM_DictionaryLoad);

void BM_DictionaryLookup(benchmark::State &state)
{
    hid::HidDeviceDict::init(builtInTable());
    bool isExplicit = false;
    for (auto _ : state)
        benchmark::DoNotOptimize(hid::HidDeviceDict::getHidCode(0x0B0E, 0xA346, isExplicit));
}
BENCHMARK(BM_DictionaryLookup);

} // namespace

BENCHMARK_MAIN();
