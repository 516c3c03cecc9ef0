// SPDX-License-Identifier: BSD-3-Clause
#include "callcontrol.h"

#include "dictionary.h"
#include "elements.h"
#include "lamps.h"

#include <fallbackcollection.h>
#include <hiddecoderbase.h>

#include <hidapi_parser.h>

#include <QJsonDocument>
#include <QJsonArray>

#include <vector>

namespace probe {

namespace {

constexpr unsigned short TelephonyPage = 0x0B;
constexpr unsigned short HeadsetUsage = 0x05;
constexpr unsigned short LedPage = 0x08;

// The page of the first element whose page is `preferred`, else of the first element at all.
unsigned short pageOf(const std::vector<unsigned short> &pages, unsigned short preferred)
{
    for (unsigned short page : pages) {
        if (page == preferred)
            return page;
    }
    return pages.empty() ? preferred : pages.front();
}

} // namespace

bool CallControl::fitsBuiltInCodes() const
{
    return collectionPage == TelephonyPage && collectionUsage == HeadsetUsage && inputPage == TelephonyPage
        && outputPage == LedPage;
}

CallControl findCallControl(const hid_descriptor *descriptor)
{
    CallControl control;
    if (!descriptor)
        return control;
    const hid::FallbackCollection collection = hid::FindFallbackCollection(descriptor, TelephonyPage, HeadsetUsage);
    const hid_collection *chosen =
        hid::HidDecoderBase::findCallControlCollection(descriptor, collection.usagePage, collection.usage);
    if (!collection.isValid() || !chosen)
        return control;
    control.found = true;
    control.telephonyButtonsOnly = collection.telephonyButtonsOnly;
    control.collectionPage = chosen->usage_page;
    control.collectionUsage = chosen->usage;
    std::vector<unsigned short> inputPages;
    std::vector<unsigned short> outputPages;
    std::vector<unsigned short> lampUsages;
    forEachElement(chosen, [&](const hid_element &element) {
        if (element.direction == HID_ELEMENT_INPUT) {
            inputPages.push_back(element.usage_page);
        } else if (element.direction == HID_ELEMENT_OUTPUT) {
            outputPages.push_back(element.usage_page);
            if (element.usage_page == LedPage)
                lampUsages.push_back(element.usage);
        }
    });
    control.hasInputs = !inputPages.empty();
    control.hasOutputs = !outputPages.empty();
    control.inputPage = pageOf(inputPages, TelephonyPage);
    control.outputPage = pageOf(outputPages, LedPage);
    control.lamps = Lamps::names(lampUsages);
    return control;
}

QString describe(const CallControl &control)
{
    if (!control.found)
        return QStringLiteral("no Telephony collection (page 0x000B): no call control");
    const auto kind = [&control]() -> QString {
        if (control.telephonyButtonsOnly)
            return QStringLiteral("no Telephony collection; telephony buttons in the collection");
        switch (control.collectionUsage) {
        case 0x05: return QStringLiteral("Telephony Headset collection");
        case 0x04: return QStringLiteral("Telephony Handset collection");
        case 0x01: return QStringLiteral("Telephony Phone collection");
        default: return QStringLiteral("Telephony collection");
        }
    };
    QString text =
        QStringLiteral("%1 (%2/%3)").arg(kind(), hexId(control.collectionPage), hexId(control.collectionUsage));
    text += control.hasInputs ? QStringLiteral(", buttons on page %1").arg(hexId(control.inputPage))
                              : QStringLiteral(", no buttons");
    if (!control.hasOutputs)
        text += QStringLiteral(", no lamps");
    else if (control.lamps.isEmpty())
        text += QStringLiteral(", outputs on page %1").arg(hexId(control.outputPage));
    else
        text += QStringLiteral(", lamps %1").arg(control.lamps.join(QLatin1Char(' ')));
    return text;
}

QString dictionaryEntry(const CallControl &control, const QString &product, unsigned short vid, unsigned short pid)
{
    const auto quoted = [](const QString &text) {
        return QString::fromUtf8(QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact)).mid(1).chopped(1);
    };
    const QString configuration =
        control.fitsBuiltInCodes() ? QStringLiteral("Standart") : QStringLiteral("%1 %2").arg(hexId(vid), hexId(pid));
    const QString row =
        QStringLiteral("\"devices\": [ { \"name\": %1, \"vid\": \"%2\", \"pid\": \"%3\", \"configuration\": %4 } ]")
            .arg(quoted(product), hexId(vid), hexId(pid), quoted(configuration));
    if (control.fitsBuiltInCodes())
        return row;
    // "Standart" states the library's built-in codes; a headset on other pages needs its own.
    return QStringLiteral("\"configurations\": { %1: { \"devUsagePage\": \"%2\", \"devUsageID\": \"%3\", "
                          "\"inputPage\": \"%4\", \"outputPage\": \"%5\" } },\n%6")
        .arg(quoted(configuration), hexId(control.collectionPage), hexId(control.collectionUsage),
             hexId(control.inputPage), hexId(control.outputPage), row);
}

} // namespace probe
