// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDDEVICEINFO_H
#define QVHID_HIDDEVICEINFO_H

#include "qvhid_export.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QMutex>
#include <QString>

#include <vector>

/// Register and unregister the built-in headset dictionary (":headsets.json") with Qt's
/// resource system. Loading the library registers it already; these are for applications
/// that unregister and register it again themselves.
QVHID_EXPORT int qInitResources_qvhid();
QVHID_EXPORT int qCleanupResources_qvhid();

namespace hid {

/// The gesture a burst of input reports stands for. NONE (-1) is the decoder's "nothing";
/// MUTE is 0, which is also what an unknown word in a headset configuration turns into.
enum ClickType : int {
    NONE = -1,
    MUTE = 0,
    CLICK = 1,
    REJECT = 2,
};

// LED-page usages (HID Usage Tables, page 0x08) that the headset commands switch.
namespace usage {
constexpr unsigned short Mute = 0x09;
constexpr unsigned short OffHook = 0x17;
constexpr unsigned short Ring = 0x18;
constexpr unsigned short Hold = 0x20;
constexpr unsigned short Microphone = 0x21;
constexpr unsigned short OnLine = 0x2A;
} // namespace usage

/// A command: ordered steps, each step the ordered output usages that are on in that state
/// of the headset (all others off). An empty step is the state with every output off; a
/// command with no steps writes nothing.
using HidCommand = std::vector<std::vector<unsigned short>>;

/// How one headset model does telephony over HID: where its call-control function and its
/// buttons and lamps live, and which lamps it wants in each call state. A default-made code
/// describes a standard HID telephony headset.
class QVHID_EXPORT HidCode
{
public:
    HidCode();
    HidCode(unsigned short devUsagePage, unsigned short devUsageID, unsigned short inputPage,
            unsigned short outputPage);
    HidCode(const HidCode &) = default;
    HidCode &operator=(const HidCode &) = default;
    virtual ~HidCode();

    /// Appends the standard step to each of the seven commands. It does not clear them first.
    void initStdCommands();

    unsigned short devUsagePage = 0x000B; ///< Telephony
    unsigned short devUsageID = 0x0005;   ///< Headset
    unsigned short inputPage = 0x000B;    ///< Telephony: the buttons
    unsigned short outputPage = 0x0008;   ///< LEDs: the lamps and ringer
    /// Gesture for an input report in which no element is found at all.
    ClickType clickTypeOnEmptyCode = NONE;
    /// The model needs its follow-up reports drained after a gesture.
    bool longDelay = false;
    HidCommand cmdInit;
    HidCommand cmdRing;
    HidCommand cmdTalk;
    HidCommand cmdHold;
    HidCommand cmdHoldMuted;
    HidCommand cmdMute;
    HidCommand cmdFromTalkToRing;
};

/// Reads a number written as a JSON string: decimal first, then hexadecimal (with or without
/// 0x). A value that is not a string gives `defaultValue`; a text that is neither gives 0.
QVHID_EXPORT unsigned int valToUint(const QJsonValue &value, unsigned int defaultValue);

/// "CLICK", "MUTE" or "NONE" in any letter case; otherwise valToUint() of the value, so a
/// number text gives that number and an unknown word gives 0 (MUTE).
QVHID_EXPORT ClickType valToClickType(const QJsonValue &value, ClickType defaultValue);

/// A usage name (MUTE, HOOK, RING, HOLD, MIC, ONLINE, in any letter case) or a number text,
/// as a 16-bit usage; 0 for anything else.
QVHID_EXPORT unsigned short valToUsage(const QJsonValue &value);

/// Reads the command `key` of a configuration object into `command`. A missing key leaves
/// `command` unchanged; a value that is not an array leaves it with no steps. Usages that
/// read as 0 are dropped from their step; the step itself is kept, also when it ends empty.
QVHID_EXPORT void getCmd(const QJsonObject &object, const QString &key,
                         std::vector<std::vector<unsigned short>> &command);

/// The HID interface chosen for the audio device in use, and its model's code. An empty path
/// means that no device is chosen.
struct HidDeviceInfo
{
    unsigned short vendorId = 0;
    unsigned short productId = 0;
    unsigned short releaseNumber = 0;
    QString name; ///< the interface's product string
    QString path; ///< what the reader opens
    HidCode code;
};

/// The process-wide headset dictionary: USB vendor and product id to the model's HidCode.
///
/// It holds either the built-in table (the resource ":headsets.json", loaded on the first
/// lookup of an empty dictionary) or the application's own JSON text, which replaces it whole.
/// A text with the top-level member "fallbackConfiguration" is the exception: it is read on top
/// of the built-in table instead (its configurations and rows added to the built-in ones, its
/// own replacing those of the same name or ids), and names the configuration of headsets that
/// have no row of their own. The built-in table names none.
/// Every member is static and every operation may be called from any thread.
class QVHID_EXPORT HidDeviceDict
{
public:
    struct VidPid
    {
        VidPid(unsigned short vid, unsigned short pid)
            : vid(vid)
            , pid(pid)
        {
        }
        bool operator<(const VidPid &other) const { return vid != other.vid ? vid < other.vid : pid < other.pid; }

        unsigned short vid;
        unsigned short pid; ///< 0: every product of the vendor that has no row of its own
    };

    HidDeviceDict() = delete;

    /// Loads the built-in table. If the resource cannot be opened, the dictionary stays as it was.
    static void init();
    /// Replaces the dictionary with the rows of `json`, the text of a headset dictionary (not a
    /// file name). A text that does not parse is logged and leaves the dictionary empty, so that
    /// the next lookup falls back to the built-in table.
    static void init(const QString &json);
    /// The code of the product's own row (isExplicit true), else of its vendor's row (pid 0),
    /// else the built-in defaults (isExplicit false in both cases).
    static HidCode getHidCode(unsigned short vid, unsigned short pid, bool &isExplicit);
    /// The configuration that the dictionary's "fallbackConfiguration" names, for headsets
    /// without a row of their own: true, with its name and code, when the dictionary has one.
    static bool getFallbackCode(HidCode &code, QString &configuration);

private:
    /// Loads the built-in table into an empty dictionary.
    static void loadIfEmpty();

    static QMap<VidPid, HidCode> devMap;
    static bool hasFallback;
    static QString fallbackName;
    static HidCode fallbackCode;
    static QMutex mutex; ///< guards devMap and the fallback
};

} // namespace hid

#endif // QVHID_HIDDEVICEINFO_H
