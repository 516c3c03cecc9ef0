// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_PARSEDVIEW_H
#define QVHID_TESTS_PARSEDVIEW_H

// Text views of what the report-parser library produced, for compact assertions.

#include <hidapi_parser.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdlib>
#include <memory>
#include <vector>

namespace parsedview {

struct FreeDescriptor
{
    void operator()(hid_descriptor *descriptor) const { std::free(descriptor); }
};
using DescriptorPtr = std::unique_ptr<hid_descriptor, FreeDescriptor>;

inline DescriptorPtr parse(const QByteArray &bytes)
{
    return DescriptorPtr(hid_parse_descriptor(reinterpret_cast<const unsigned char *>(bytes.constData()),
                                              static_cast<size_t>(bytes.size())));
}

inline DescriptorPtr parse(const std::vector<unsigned char> &bytes)
{
    return DescriptorPtr(hid_parse_descriptor(bytes.data(), bytes.size()));
}

inline QString usageText(unsigned short page, unsigned short usage)
{
    return QStringLiteral("%1:%2").arg(page, 4, 16, QLatin1Char('0')).arg(usage, 4, 16, QLatin1Char('0'));
}

// "in 000b:0020 id1 @0+1 x1 f22": direction, usage, report id, bit offset + size, count, flags.
inline QString describe(const hid_element &e)
{
    static const char *const directions[] = {"?", "in", "out", "feat"};
    return QStringLiteral("%1 %2 id%3 @%4+%5 x%6 f%7")
        .arg(QLatin1String(directions[e.direction & 3]), usageText(e.usage_page, e.usage))
        .arg(e.report_id)
        .arg(e.bit_offset)
        .arg(e.bit_size)
        .arg(e.report_count)
        .arg(e.flags, 0, 16);
}

// The elements listed directly in a collection, in list order.
inline QStringList elementsOf(const hid_collection *collection)
{
    QStringList result;
    for (const hid_element *e = collection->first_element; e; e = e->next)
        result << describe(*e);
    return result;
}

inline QStringList childrenOf(const hid_collection *collection)
{
    QStringList result;
    for (const hid_collection *c = collection->first_child; c; c = c->next_sibling)
        result << QStringLiteral("%1 type%2").arg(usageText(c->usage_page, c->usage)).arg(c->type);
    return result;
}

// The elements that hid_parse_input_report() reports for one report, as "page:usage=value",
// and its result.
struct Reported
{
    int result = 0;
    QStringList elements;
};

inline void recordElement(const hid_element *element, void *userData)
{
    static_cast<QStringList *>(userData)->append(
        QStringLiteral("%1=%2").arg(usageText(element->usage_page, element->usage)).arg(element->value));
}

inline Reported feed(hid_descriptor *descriptor, const QByteArray &report)
{
    Reported reported;
    hid_set_element_callback(descriptor, &recordElement, &reported.elements);
    reported.result = hid_parse_input_report(reinterpret_cast<const unsigned char *>(report.constData()),
                                             static_cast<size_t>(report.size()), descriptor);
    return reported;
}

// Output report `id` as hex, "" when the library returns none.
inline QByteArray outputReport(const hid_descriptor *descriptor, unsigned char id)
{
    size_t length = 0;
    unsigned char *report = hid_get_output_report(descriptor, id, &length);
    if (!report)
        return QByteArray();
    const QByteArray hex = QByteArray(reinterpret_cast<const char *>(report), int(length)).toHex();
    std::free(report);
    return hex;
}

inline QByteArray toQByteArray(const std::vector<unsigned char> &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

} // namespace parsedview

#endif // QVHID_TESTS_PARSEDVIEW_H
