// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDDECODERBASE_H
#define QVHID_HIDDECODERBASE_H

#include "hiddeviceinfo.h"
#include "qvhid_export.h"

#include <QObject>

#include <memory>
#include <vector>

/// hidapi's device handle and the report-parser library's descriptor, as their headers
/// declare them.
struct hid_device_;
typedef struct hid_device_ hid_device;
struct hid_descriptor;
struct hid_collection;

namespace hid {

/// The opened headset's report descriptor, seen through its model's code: turns an input
/// report into a gesture, and a set of output usages into the output reports that show
/// exactly that set.
///
/// A decoder is used on one thread. Decoders on different threads may decode at the same time.
class QVHID_EXPORT HidDecoderBase : public QObject
{
public:
    using ByteIterator = std::vector<unsigned char>::const_iterator;

    /// Reads the device's descriptor. If it cannot be read, every later call answers "nothing".
    /// The device is not owned.
    HidDecoderBase(const HidDeviceInfo &info, hid_device *device);
    ~HidDecoderBase() override;

    /// The gesture in one input report of `length` bytes. `usages` is left untouched. Only the
    /// inputs of the call-control collection count (those of the whole descriptor when it has
    /// no such collection).
    virtual ClickType getClickTypeFromData(const std::vector<unsigned char> &data, unsigned short length,
                                           std::vector<unsigned short> &usages) const;
    /// Appends to `reports` the output reports that switch on exactly `usages` of `page` in the
    /// headset's call-control collection (and all its other outputs of `page` off). False when
    /// there is no descriptor or no such collection.
    virtual bool makeOutputReport(unsigned short page, const std::vector<unsigned short> &usages,
                                  std::vector<std::vector<unsigned char>> &reports);

    /// The top-level collection of `descriptor` with this usage page and usage, where a headset
    /// keeps its call control; null when it has none.
    static const hid_collection *findCallControlCollection(const hid_descriptor *descriptor, unsigned short usagePage,
                                                           unsigned short usage);
    static bool isSet(const std::vector<unsigned short> &usages, unsigned short usage);
    /// True when the descriptor declares report ids: an input report's first byte is its id.
    bool usesReportIds() const;
    /// True when the bytes begin with one of the patterns or a pattern begins with the bytes.
    static bool isKindOf(ByteIterator first, ByteIterator last,
                         const std::vector<std::vector<unsigned char>> &patterns);

protected:
    int m_inputType;  ///< the parser's element direction of inputs
    int m_outputType; ///< and of outputs
    HidDeviceInfo m_info;
    hid_device *m_device;
    hid_descriptor *m_descriptor;

private:
    /// What the decoder keeps besides (hiddecoderbase.cpp): behind a pointer, so that it may
    /// grow without changing this class's size.
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace hid

#endif // QVHID_HIDDECODERBASE_H
