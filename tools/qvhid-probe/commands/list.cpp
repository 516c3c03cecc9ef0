// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe list: every HID interface of the machine, as the library sees it: whether the
// dictionary lists it, which interface the library binds for an audio device, whether the user
// may open it, and for a headset the dictionary does not list, the row that would bind it.

#include "callcontrol.h"
#include "command.h"
#include "dictionary.h"
#include "mutebutton.h"
#include "udevrule.h"

#include <nodeproperties.h>

#include <hiddevice.h>
#include <hiddeviceinfo.h>
#include <platform/micmutekey.h>
#include <platform/nodeaccess.h>
#include <platform/reportdescriptor.h>
#include <platform/soundcards.h>
#include <telephonyidentity.h>
#include <hidapi.h>
#include <hidapi_parser.h>
#include <virtualmodels.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <unistd.h>
#include <vector>

namespace probe {

namespace {

// The configuration for standard telephony headsets, as the dictionary spells it.
const QString StandardConfiguration = QStringLiteral("Standart");

// What hidapi's enumeration says of one interface, copied out of its list.
struct Interface
{
    unsigned short vid = 0;
    unsigned short pid = 0;
    unsigned short release = 0;
    QString product;
    QString manufacturer;
    unsigned short usagePage = 0;
    unsigned short usage = 0;
    int interfaceNumber = -1;
    QString path;
};

QString fromWide(const wchar_t *text)
{
    return text ? QString::fromWCharArray(text) : QString();
}

std::vector<Interface> enumerate()
{
    std::vector<Interface> interfaces;
    hid_device_info *devices = hid_enumerate(0, 0);
    for (const hid_device_info *device = devices; device; device = device->next) {
        interfaces.push_back({device->vendor_id, device->product_id, device->release_number,
                              fromWide(device->product_string), fromWide(device->manufacturer_string),
                              device->usage_page, device->usage, device->interface_number,
                              QString::fromUtf8(device->path)});
    }
    hid_free_enumeration(devices);
    return interfaces;
}

bool isDeviceNode(const QString &path)
{
    return path.startsWith(QLatin1Char('/'));
}

class Lister
{
public:
    Lister(const QString &text, const QList<DictionaryRow> &rows)
        : m_text(text)
        , m_rows(rows)
    {
    }

    void show(const std::vector<Interface> &interfaces)
    {
        if (interfaces.empty()) {
            out() << "No HID interface: hidapi lists none. A headset that is plugged in shows a /dev/hidraw* node;\n"
                  << "without one the kernel has not taken it as a HID device.\n";
            return;
        }
        out() << interfaces.size() << (interfaces.size() == 1 ? " HID interface" : " HID interfaces") << ".\n";
        for (const Interface &interface : interfaces) {
            out() << "\n";
            show(interface);
        }
        if (m_problems > 0)
            out() << "\n"
                  << m_problems << (m_problems == 1 ? " headset needs" : " headsets need")
                  << " attention (see above).\n";
    }

    int problems() const { return m_problems; }

private:
    void show(const Interface &interface)
    {
        out() << hexId(interface.vid) << ":" << hexId(interface.pid) << "  \"" << interface.product << "\"";
        if (!interface.manufacturer.isEmpty())
            out() << " by \"" << interface.manufacturer << "\"";
        out() << "\n    release " << hexId(interface.release) << ", usage page " << hexId(interface.usagePage)
              << ", usage " << hexId(interface.usage) << ", interface " << interface.interfaceNumber << "\n"
              << "    path: " << interface.path << "\n";

        // Read as the binding reads it: from sysfs, which anyone may read, else through the device.
        const hid::ReportDescriptor descriptor = hid::ReadReportDescriptor(m_system, interface.path);
        const bool isTelephony = isTelephonyDevice(interface, descriptor.get());
        const QString access = accessOf(interface, isTelephony);
        const CallControl control = findCallControl(descriptor.get());
        out() << "    descriptor: "
              << (descriptor ? describe(control) : QStringLiteral("cannot be read or is not valid")) << "\n";

        bool isExplicit = false;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(interface.vid, interface.pid, isExplicit);
        if (isExplicit) {
            out() << "    dictionary: listed, configuration \"" << configurationOf(interface.vid, interface.pid)
                  << "\"\n";
            showBinding(interface, code, control);
        } else {
            showUnlisted(interface, control, descriptor != nullptr);
        }
        showSoundCards(interface);
        out() << "    access: " << access << "\n";
        if (isTelephony)
            showMuteButton(interface);
    }

    // A device the library's udev rules give the user, as they tell it: a hidraw node by what
    // qvhid-udev-id says of it; another (a virtual headset) by its descriptor alone.
    bool isTelephonyDevice(const Interface &interface, const hid_descriptor *descriptor) const
    {
        const QString node = interface.path.section(QLatin1Char('/'), -1);
        if (interface.path == QStringLiteral("/dev/") + node && node.startsWith(QLatin1String("hidraw")))
            return !udevid::propertiesOf(m_system.sysfsRoot.toStdString(), node.toStdString()).empty();
        const udevid::Identity identity = udevid::identify(descriptor, hidIds(interface));
        return identity != udevid::Identity::None && identity != udevid::Identity::TelephonyButtons;
    }

    // What the desktop does with the headset's mute button.
    void showMuteButton(const Interface &interface)
    {
        const hid::MicMuteKey key = hid::CheckMicMuteKey(m_system, interface.path);
        const QString text = describeMuteButton(key, udevRuleDirectories());
        if (text.isEmpty())
            return;
        out() << "    mute button: " << text << "\n";
        if (key.desktop == hid::DesktopMute::Acts)
            ++m_problems;
    }

    static std::optional<udevid::DeviceIds> hidIds(const Interface &interface)
    {
        return udevid::DeviceIds{interface.vid, interface.pid};
    }

    // Which interface the library binds for an audio device named after the product string: the
    // library's own choice decides.
    void showBinding(const Interface &interface, const hid::HidCode &code, const CallControl &control)
    {
        if (interface.product.isEmpty()) {
            out() << "    binding: none by product string; the interface has none to match an audio device by\n";
            ++m_problems;
            return;
        }
        hid::HidDevice device(nullptr);
        device.chooseDevice(interface.product);
        const QString chosen = device.getInfo().path;
        if (chosen != interface.path) {
            out() << "    binding: none by product string; " << chosen
                  << " has the same product string and is bound instead\n";
            return;
        }
        out() << "    binding: the library binds this interface for audio devices named \"... (" << interface.product
              << ")\"\n";
        // hidapi lists an interface once per top-level collection: the binding takes the entry
        // of its call-control collection when the interface has one.
        const hid::HidDeviceChoice &choice = device.getChoice();
        if (choice.usagePage != code.devUsagePage || choice.usage != code.devUsageID) {
            out() << "    warning: its usage page and usage are not the call-control collection "
                  << hexId(code.devUsagePage) << "/" << hexId(code.devUsageID)
                  << " of its configuration: the headset's buttons and lamps may be on another interface\n";
            ++m_problems;
        } else if (control.found && !control.hasOutputs) {
            out() << "    note: its call-control collection has no lamps\n";
        }
    }

    // The sound cards of the interface's USB device, and the names of each that bind it.
    void showSoundCards(const Interface &interface)
    {
        const QString usbDevice = hid::UsbDeviceOfHidPath(m_system, interface.path);
        bool any = false;
        for (const hid::SoundCard &card : m_cards) {
            if (usbDevice.isEmpty() || card.usbDevice != usbDevice)
                continue;
            any = true;
            out() << "    sound card " << card.number << " (id " << card.id << ", \"" << card.displayName() << "\")\n";
            const QStringList names = {QStringLiteral("hw:%1").arg(card.number),
                                       QStringLiteral("sysdefault:CARD=%1").arg(card.id),
                                       QStringLiteral("alsa_card.%1").arg(card.udevId)};
            hid::HidDevice device(nullptr);
            device.chooseAudioDevice(names.first());
            const QString chosen = device.getInfo().path;
            if (chosen == interface.path)
                out() << "        binds this interface: " << names.join(QStringLiteral(", "))
                      << ", and the sound servers' alsa_output." << card.udevId << ".* and alsa_input." << card.udevId
                      << ".*\n";
            else if (chosen.isEmpty())
                out() << "        binds nothing: " << device.getChoice().rule << "\n";
            else
                out() << "        binds " << chosen << " instead\n";
        }
        if (!any && isDeviceNode(interface.path))
            out() << "    sound card: none on its USB device\n";
    }

    void showUnlisted(const Interface &interface, const CallControl &control, bool descriptorRead)
    {
        const QString vendorWide = configurationOf(interface.vid, 0);
        if (!vendorWide.isNull())
            out() << "    dictionary: listed only for its whole vendor (configuration \"" << vendorWide
                  << "\"), which the library never binds by itself\n";
        else
            out() << "    dictionary: not listed\n";
        const bool boundByFallback = showFallback(interface);
        if (!control.found) {
            if (!boundByFallback)
                out() << (descriptorRead ? "    the library will not bind it: nothing in its descriptor is telephony\n"
                                         : "    the library will not bind it; its descriptor could not be read to tell "
                                           "whether it is a headset\n");
            return;
        }
        if (boundByFallback) {
            out() << "    A row of its own would bind it without the fallback; this dictionary entry would:\n";
        } else {
            ++m_problems;
            out() << "    The library will not bind this headset. This dictionary entry would bind it; add it to\n"
                  << "    the application's dictionary and check it with 'qvhid-probe check-dictionary FILE':\n";
        }
        for (const QString &line :
             dictionaryEntry(control, interface.product, interface.vid, interface.pid).split(QLatin1Char('\n')))
            out() << "        " << line << "\n";
        if (interface.usagePage != control.collectionPage || interface.usage != control.collectionUsage)
            out() << "    note: of the interfaces with the product string \"" << interface.product
                  << "\", the library binds its configuration's call-control collection; make sure it is this one\n";
    }

    // Whether the dictionary's fallback configuration binds the interface for an audio device
    // named after its product string, or, when the dictionary names none, whether the standard
    // one would. True when it binds it.
    bool showFallback(const Interface &interface)
    {
        if (interface.product.isEmpty())
            return false;
        hid::HidCode code;
        QString configuration;
        const bool named = hid::HidDeviceDict::getFallbackCode(code, configuration);
        if (!named)
            hid::HidDeviceDict::init(withFallback(m_text, StandardConfiguration));
        hid::HidDevice device(nullptr);
        const bool bound = device.chooseAudioDevice(interface.product) && device.getInfo().path == interface.path;
        const QString rule = device.getChoice().rule;
        const QString chosen = device.getInfo().path;
        if (!named)
            hid::HidDeviceDict::init(m_text);

        out() << "    fallback: ";
        if (named)
            out() << "the dictionary's fallback configuration \"" << configuration << "\" ";
        else
            out() << "the dictionary names none; with \"fallbackConfiguration\": \"" << StandardConfiguration
                  << "\" the library ";
        if (bound)
            out() << (named ? "binds" : "would bind") << " this interface for \"" << interface.product << "\": " << rule
                  << "\n";
        else if (!chosen.isEmpty())
            out() << (named ? "binds" : "would bind") << " " << chosen << " instead\n";
        else
            out() << (named ? "does not bind it" : "would not bind it") << ": " << rule << "\n";
        return named && bound;
    }

    // Whether the current user may open the device, tried by opening it.
    QString accessOf(const Interface &interface, bool isTelephonyHeadset)
    {
        if (isDeviceNode(interface.path) && ::access(interface.path.toUtf8().constData(), R_OK | W_OK) != 0) {
            const int error = errno;
            ++m_problems;
            if (error == EACCES || error == EPERM)
                return deniedAccess(udevRuleDirectories(), interface.vid, interface.pid, isTelephonyHeadset);
            return QStringLiteral("cannot open it: %1").arg(hid::DescribeNodeAccess(m_system, interface.path));
        }
        hid_device *handle = hid_open_path(interface.path.toUtf8().constData());
        if (handle) {
            hid_close(handle);
            return QStringLiteral("the current user may open it (read and write)");
        }
        ++m_problems;
        return QStringLiteral("hidapi cannot open it: %1").arg(fromWide(hid_error(nullptr)));
    }

    // The name of the configuration of the dictionary row for these ids (the last such row),
    // or a null string when no row has them.
    QString configurationOf(unsigned short vid, unsigned short pid) const
    {
        QString configuration;
        for (const DictionaryRow &row : m_rows) {
            if (row.vid == vid && row.pid == pid)
                configuration = row.configuration.isNull() ? QStringLiteral("") : row.configuration;
        }
        return configuration;
    }

    const QString m_text;
    const QList<DictionaryRow> m_rows;
    const hid::SystemView m_system = hid::LiveSystemView();
    const QVector<hid::SoundCard> m_cards = hid::ListSoundCards(m_system);
    int m_problems = 0;
};

} // namespace

int runList(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("qvhid-probe list: lists every HID interface of this machine as the library sees it: its ids,\n"
                       "strings, usage page and path; whether the dictionary lists it and which interface the\n"
                       "library binds; whether the current user may open it (and the udev rule that is missing\n"
                       "when not); and for a headset that the dictionary does not list, whether its fallback\n"
                       "configuration binds it (or the standard one would) and the dictionary entry that would\n"
                       "bind it. Exits 0 when nothing needs attention, 1 otherwise."));
    const QCommandLineOption dictionary = dictionaryOption();
    const QCommandLineOption fallback = fallbackOption();
    const QCommandLineOption virtualOption(
        QStringLiteral("virtual"),
        QStringLiteral("Plug in the virtual headset MODEL first (see 'qvhid-probe demo "
                       "--list-models'); may be given more than once."),
        QStringLiteral("MODEL"));
    parser.addOption(dictionary);
    parser.addOption(fallback);
    parser.addOption(virtualOption);
    if (!parseArguments(parser, arguments))
        return UsageError;
    if (!parser.positionalArguments().isEmpty()) {
        err() << "qvhid-probe list: takes no arguments besides its options.\n";
        return UsageError;
    }

    QString text;
    if (!loadDictionary(QStringLiteral("list"), parser, dictionary, fallback, text))
        return UsageError;
    std::vector<hid::virt::VirtualDevice> virtualDevices;
    if (!plugVirtualModels(QStringLiteral("list"), parser.values(virtualOption), virtualDevices))
        return UsageError;
    const QList<DictionaryRow> rows = dictionaryRows(text);
    if (rows.isEmpty()) {
        err() << "qvhid-probe list: the dictionary lists no headset; 'qvhid-probe check-dictionary FILE' tells why.\n";
        return UsageError;
    }
    hid::HidDeviceDict::init(text);

    Lister lister(text, rows);
    lister.show(enumerate());
    for (hid::virt::VirtualDevice &device : virtualDevices)
        device.remove();
    return lister.problems() == 0 ? Success : Failure;
}

} // namespace probe
