// SPDX-License-Identifier: BSD-3-Clause
#include "hiddecoderbase.h"

#include "hidlog.h"
#include "phonemuteswitch.h"

#include <hidapi_parser.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <set>

namespace hid {

namespace {

// Telephony page (HID Usage Tables, page 0x0B) usages that make gestures.
namespace telephony {
constexpr unsigned short Phone = 0x01;
constexpr unsigned short ProgrammableButton = 0x07;
constexpr unsigned short HookSwitch = 0x20;
constexpr unsigned short Flash = 0x21;
constexpr unsigned short Drop = 0x26;
constexpr unsigned short PhoneMute = 0x2F;
constexpr unsigned short LineBusyTone = 0x97;
} // namespace telephony

constexpr unsigned short TelephonyPage = 0x0B;

// A vendor usage that some headsets send for their reject button.
constexpr unsigned short VendorReject = 0xFFFD;

using ElementSlot = std::function<void(const hid_element *, void *)>;

// The parser calls a plain function; it forwards to the function object of the decoding in
// progress. There is one slot per thread, so decoders on different threads do not meet.
ElementSlot &elementSlot()
{
    thread_local ElementSlot slot;
    return slot;
}

void forwardElement(const hid_element *element, void *userData)
{
    elementSlot()(element, userData); // an empty slot throws std::bad_function_call
}

ClickType gestureOf(const std::vector<unsigned short> &usages)
{
    using namespace telephony;
    const auto has = [&usages](unsigned short usage) { return HidDecoderBase::isSet(usages, usage); };
    if (has(PhoneMute))
        return MUTE;
    if (has(ProgrammableButton) || has(Drop) || has(VendorReject) || has(Phone))
        return REJECT;
    // Hook Switch and Line Busy Tone each answer or end a call, but not together: a report
    // with both is left to Flash.
    if (has(HookSwitch) != has(LineBusyTone))
        return CLICK;
    if (has(Flash))
        return CLICK;
    return NONE;
}

// Phone Mute declared as an absolute variable field: reported on every change, press and release.
bool isAbsolutePhoneMute(const hid_element &element)
{
    return element.usage_page == TelephonyPage && element.usage == telephony::PhoneMute
        && (element.flags & HID_ELEMENT_VARIABLE) != 0 && (element.flags & HID_ELEMENT_RELATIVE) == 0;
}

bool isWithin(const hid_collection *collection, const hid_collection *ancestor)
{
    for (; collection; collection = collection->parent) {
        if (collection == ancestor)
            return true;
    }
    return false;
}

template<typename Visit> void forEachElement(const hid_collection *collection, Visit visit)
{
    for (hid_element *element = collection->first_element; element; element = element->next)
        visit(*element);
}

} // namespace

struct HidDecoderBase::Private
{
    std::set<unsigned char> reportIdsSeen;       ///< input report ids decoded since binding
    const hid_collection *callControl = nullptr; ///< the collection whose buttons count
    std::unique_ptr<PhoneMuteSwitch> phoneMute;  ///< an absolute Phone Mute's presses
};

HidDecoderBase::HidDecoderBase(const HidDeviceInfo &info, hid_device *device)
    : m_inputType(HID_ELEMENT_INPUT)
    , m_outputType(HID_ELEMENT_OUTPUT)
    , m_info(info)
    , m_device(device)
    , m_descriptor(nullptr)
    , d(std::make_unique<Private>())
{
    HID_LOG(log::Trace) << "HidDecoderBase";
    m_descriptor = hid_read_descriptor(device);
    d->callControl = findCallControlCollection(m_descriptor, m_info.code.devUsagePage, m_info.code.devUsageID);
    d->phoneMute = std::make_unique<PhoneMuteSwitch>();
}

HidDecoderBase::~HidDecoderBase()
{
    if (m_descriptor)
        std::free(m_descriptor); // one block: the parser's lists live inside it
    HID_LOG(log::Trace) << "~HidDecoderBase";
}

ClickType HidDecoderBase::getClickTypeFromData(const std::vector<unsigned char> &data, unsigned short length,
                                               std::vector<unsigned short> & /*usages*/) const
{
    if (!m_descriptor)
        return NONE;
    // Never past the end of the buffer, whatever length the caller claims.
    const std::size_t size = std::min<std::size_t>(length, data.size());
    // The first report of each id shows the device as it rests after binding. An array field
    // whose logical range includes 0, the value a device rests at, selects a usage even at rest
    // and would show it "newly" pressed in that report: there, what it holds is the baseline, not
    // a press. An array resting outside its range (the usual Null State) selects nothing at rest,
    // so what it holds in the first report is pressed; so is a variable field that changes.
    const unsigned char reportId = m_descriptor->uses_report_ids && size > 0 ? data[0] : 0;
    const bool baseline = d->reportIdsSeen.insert(reportId).second;
    std::vector<unsigned short> found;
    bool nothingReported = true;
    elementSlot() = [this, &found, &nothingReported, baseline](const hid_element *element, void *) {
        nothingReported = false;
        if (d->callControl && !isWithin(element->collection, d->callControl))
            return;
        if (baseline && (element->flags & HID_ELEMENT_VARIABLE) == 0 && element->logical_minimum <= 0)
            return;
        // An absolute Phone Mute is reported when it goes on and when it goes off: one of the
        // two is the press (phonemuteswitch.h).
        if (element->direction == m_inputType && isAbsolutePhoneMute(*element)
            && !d->phoneMute->isPress(element->value != 0, baseline))
            return;
        if (element->usage_page == m_info.code.inputPage && element->direction == m_inputType)
            found.push_back(element->usage);
    };
    hid_set_element_callback(m_descriptor, &forwardElement, nullptr);
    if (hid_parse_input_report(data.data(), size, m_descriptor) < 0 && baseline)
        d->reportIdsSeen.erase(reportId); // not a report of the device: its baseline is still to come
    if (nothingReported)
        return m_info.code.clickTypeOnEmptyCode;
    return gestureOf(found);
}

bool HidDecoderBase::usesReportIds() const
{
    return m_descriptor && m_descriptor->uses_report_ids;
}

bool HidDecoderBase::makeOutputReport(unsigned short page, const std::vector<unsigned short> &usages,
                                      std::vector<std::vector<unsigned char>> &reports)
{
    if (!m_descriptor || !m_descriptor->device_collection->first_child)
        return false;
    const hid_collection *topLevel = m_descriptor->device_collection->first_child;

    // Every output listed directly in a top-level collection starts off.
    for (const hid_collection *c = topLevel; c; c = c->next_sibling) {
        forEachElement(c, [this](hid_element &element) {
            if (element.direction == m_outputType)
                element.output_value = 0;
        });
    }

    const hid_collection *found =
        findCallControlCollection(m_descriptor, m_info.code.devUsagePage, m_info.code.devUsageID);
    if (!found)
        return false;

    const auto isOutputOnPage = [this, page](const hid_element &element) {
        return element.direction == m_outputType && element.usage_page == page;
    };
    // Switches on the first output of `collection` for each usage, and gathers the report ids
    // of all its outputs on the page.
    std::set<unsigned char> reportIds;
    const auto mark = [&](const hid_collection *collection) {
        for (unsigned short usage : usages) {
            for (hid_element *e = collection->first_element; e; e = e->next) {
                if (isOutputOnPage(*e) && e->usage == usage) {
                    e->output_value = 1;
                    break;
                }
            }
        }
        forEachElement(collection, [&](hid_element &element) {
            if (isOutputOnPage(element))
                reportIds.insert(element.report_id);
        });
    };
    mark(found);
    for (const hid_collection *child = found->first_child; child; child = child->next_sibling)
        mark(child);

    for (unsigned char id : reportIds) {
        std::size_t length = 0;
        unsigned char *report = hid_get_output_report(m_descriptor, id, &length);
        if (!report)
            continue;
        reports.emplace_back(report, report + length);
        std::free(report);
    }
    return true;
}

const hid_collection *HidDecoderBase::findCallControlCollection(const hid_descriptor *descriptor,
                                                                unsigned short usagePage, unsigned short usage)
{
    if (!descriptor || !descriptor->device_collection)
        return nullptr;
    const hid_collection *found = descriptor->device_collection->first_child;
    while (found && !(found->usage_page == usagePage && found->usage == usage))
        found = found->next_sibling;
    return found;
}

bool HidDecoderBase::isSet(const std::vector<unsigned short> &usages, unsigned short usage)
{
    return std::find(usages.begin(), usages.end(), usage) != usages.end();
}

bool HidDecoderBase::isKindOf(ByteIterator first, ByteIterator last,
                              const std::vector<std::vector<unsigned char>> &patterns)
{
    const std::size_t available = static_cast<std::size_t>(std::distance(first, last));
    for (const std::vector<unsigned char> &pattern : patterns) {
        const std::size_t n = std::min(available, pattern.size());
        if (n == 0 || std::equal(first, first + static_cast<std::ptrdiff_t>(n), pattern.begin()))
            return true;
    }
    return false;
}

} // namespace hid
