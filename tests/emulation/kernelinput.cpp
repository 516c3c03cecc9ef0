// SPDX-License-Identifier: BSD-3-Clause
#include "kernelinput.h"

#include <hidapi_parser.h>

#include <linux/input-event-codes.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

namespace emulation {

namespace {

constexpr unsigned short GenericDesktopPage = 0x01;
constexpr unsigned short KeyboardPage = 0x07;
constexpr unsigned short LedPage = 0x08;
constexpr unsigned short ButtonPage = 0x09;
constexpr unsigned short TelephonyPage = 0x0B;
constexpr unsigned short ConsumerPage = 0x0C;
constexpr unsigned short DigitizerPage = 0x0D;

struct DescriptorDeleter
{
    void operator()(hid_descriptor *descriptor) const { std::free(descriptor); }
};

// hid-input's IS_INPUT_APPLICATION.
bool isInputApplication(unsigned short page, unsigned short usage)
{
    if (page == GenericDesktopPage)
        return (usage >= 0x01 && usage <= 0x08) || usage == 0x80 || usage == 0x0C || usage == 0x0E;
    if (page == ConsumerPage)
        return usage == 0x01;
    if (page == DigitizerPage)
        return usage == 0x02 || usage == 0x04 || usage == 0x05 || usage == 0x20 || usage == 0x22;
    return false;
}

// hidinput_allocate()'s suffix for the application.
std::string suffixOf(unsigned short page, unsigned short usage)
{
    if (page == GenericDesktopPage) {
        switch (usage) {
        case 0x02: return "Mouse";
        case 0x06: return "Keyboard";
        case 0x07: return "Keypad";
        case 0x0C: return "Wireless Radio Control";
        case 0x80: return "System Control";
        default: return {};
        }
    }
    if (page == ConsumerPage && usage == 0x01)
        return "Consumer Control";
    return {};
}

int telephonyKey(unsigned short usage)
{
    if (usage == 0x2F)
        return KEY_MICMUTE;
    if (usage >= 0xB0 && usage <= 0xB9)
        return KEY_NUMERIC_0 + (usage - 0xB0);
    if (usage == 0xBA)
        return KEY_NUMERIC_STAR;
    if (usage == 0xBB)
        return KEY_NUMERIC_POUND;
    return -1;
}

int consumerKey(unsigned short usage)
{
    static const std::map<unsigned short, int> keys{
        {0xB5, KEY_NEXTSONG}, {0xB6, KEY_PREVIOUSSONG}, {0xB7, KEY_STOPCD},     {0xCD, KEY_PLAYPAUSE},
        {0xE2, KEY_MUTE},     {0xE9, KEY_VOLUMEUP},     {0xEA, KEY_VOLUMEDOWN},
    };
    const auto found = keys.find(usage);
    return found == keys.end() ? KEY_UNKNOWN : found->second;
}

int keyboardKey(unsigned short usage)
{
    // hid_keyboard[], from Keyboard a (0x04) on.
    static const int letters[] = {KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I,
                                  KEY_J, KEY_K, KEY_L, KEY_M, KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R,
                                  KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};
    static const int digits[] = {KEY_1, KEY_2, KEY_3, KEY_4, KEY_5, KEY_6, KEY_7, KEY_8, KEY_9, KEY_0};
    static const int controls[] = {KEY_ENTER, KEY_ESC, KEY_BACKSPACE, KEY_TAB, KEY_SPACE};
    static const int modifiers[] = {KEY_LEFTCTRL,  KEY_LEFTSHIFT,  KEY_LEFTALT,  KEY_LEFTMETA,
                                    KEY_RIGHTCTRL, KEY_RIGHTSHIFT, KEY_RIGHTALT, KEY_RIGHTMETA};
    if (usage >= 0x04 && usage <= 0x1D)
        return letters[usage - 0x04];
    if (usage >= 0x1E && usage <= 0x27)
        return digits[usage - 0x1E];
    if (usage >= 0x28 && usage <= 0x2C)
        return controls[usage - 0x28];
    if (usage >= 0xE0 && usage <= 0xE7)
        return modifiers[usage - 0xE0];
    return -1;
}

int ledOf(unsigned short usage)
{
    static const std::map<unsigned short, int> leds{
        {0x01, LED_NUML}, {0x02, LED_CAPSL},   {0x03, LED_SCROLLL},  {0x04, LED_COMPOSE},
        {0x05, LED_KANA}, {0x09, LED_MUTE},    {0x19, LED_MAIL},     {0x27, LED_SLEEP},
        {0x4B, LED_MISC}, {0x4C, LED_SUSPEND}, {0x4D, LED_CHARGING},
    };
    const auto found = leds.find(usage);
    return found == leds.end() ? -1 : found->second;
}

int buttonBase(unsigned short applicationPage, unsigned short applicationUsage)
{
    if (applicationPage == GenericDesktopPage && applicationUsage == 0x02)
        return BTN_MOUSE;
    if (applicationPage == GenericDesktopPage && applicationUsage == 0x05)
        return BTN_GAMEPAD;
    if (applicationPage == GenericDesktopPage && applicationUsage == 0x04)
        return BTN_JOYSTICK;
    return BTN_MISC;
}

void addKey(KernelInputDevice &device, int key, const hid_element &element)
{
    if (key < 0)
        return;
    device.keys.insert(key);
    device.scanCodes.insert(static_cast<unsigned int>(element.usage_page) << 16 | element.usage);
}

// Maps one element of an application collection, as hidinput_configure_usage() does.
void mapElement(KernelInputDevice &device, const hid_collection &application, const hid_element &element)
{
    if (element.flags & HID_ELEMENT_CONSTANT)
        return;
    if (element.direction == HID_ELEMENT_OUTPUT) {
        const int led = element.usage_page == LedPage ? ledOf(element.usage) : -1;
        if (led >= 0)
            device.leds.insert(led);
        return;
    }
    if (element.direction != HID_ELEMENT_INPUT)
        return;
    switch (element.usage_page) {
    case TelephonyPage: addKey(device, telephonyKey(element.usage), element); break;
    case ConsumerPage:
        if (element.usage != 0)
            addKey(device, consumerKey(element.usage), element);
        break;
    case KeyboardPage: addKey(device, keyboardKey(element.usage), element); break;
    case ButtonPage:
        if (element.usage != 0)
            addKey(device, buttonBase(application.usage_page, application.usage) + element.usage - 1, element);
        break;
    case GenericDesktopPage:
        if (element.usage >= 0x30 && element.usage <= 0x38) {
            const int axis = element.usage - 0x30; // X, Y, Z, Rx, Ry, Rz, Slider, Dial, Wheel
            (element.flags & HID_ELEMENT_RELATIVE ? device.relativeAxes : device.absoluteAxes).insert(axis);
        }
        break;
    default: break;
    }
}

void mapCollection(KernelInputDevice &device, const hid_collection &application, const hid_collection &collection)
{
    for (const hid_element *element = collection.first_element; element; element = element->next)
        mapElement(device, application, *element);
    for (const hid_collection *child = collection.first_child; child; child = child->next_sibling)
        mapCollection(device, application, *child);
}

} // namespace

std::vector<KernelInputDevice> kernelInputDevices(const hid::virt::Bytes &descriptor)
{
    if (descriptor.empty() || descriptor.size() > HID_PARSER_MAX_DESCRIPTOR_SIZE)
        return {};
    const std::unique_ptr<hid_descriptor, DescriptorDeleter> parsed(
        hid_parse_descriptor(descriptor.data(), descriptor.size()));
    if (!parsed)
        return {};
    const hid_collection *first = parsed->device_collection->first_child;
    bool anyInputApplication = false;
    for (const hid_collection *c = first; c; c = c->next_sibling)
        anyInputApplication = anyInputApplication || (c->type == 1 && isInputApplication(c->usage_page, c->usage));
    if (!anyInputApplication)
        return {};

    std::vector<KernelInputDevice> devices;
    for (const hid_collection *application = first; application; application = application->next_sibling) {
        KernelInputDevice device;
        device.nameSuffix = suffixOf(application->usage_page, application->usage);
        mapCollection(device, *application, *application);
        // hid-input drops an input device to which nothing was mapped.
        if (!device.keys.empty() || !device.leds.empty() || !device.relativeAxes.empty()
            || !device.absoluteAxes.empty())
            devices.push_back(device);
    }
    return devices;
}

std::string ledName(int led)
{
    // input-leds.c's names.
    static const std::map<int, const char *> names{
        {LED_NUML, "numlock"}, {LED_CAPSL, "capslock"}, {LED_SCROLLL, "scrolllock"}, {LED_COMPOSE, "compose"},
        {LED_KANA, "kana"},    {LED_SLEEP, "sleep"},    {LED_SUSPEND, "suspend"},    {LED_MUTE, "mute"},
        {LED_MISC, "misc"},    {LED_MAIL, "mail"},      {LED_CHARGING, "charging"},
    };
    const auto found = names.find(led);
    return found == names.end() ? std::string() : found->second;
}

std::string capabilityBitmap(const std::set<int> &bits)
{
    constexpr int WordBits = static_cast<int>(sizeof(unsigned long) * 8);
    const int words = bits.empty() ? 1 : *bits.rbegin() / WordBits + 1;
    std::vector<unsigned long> bitmap(static_cast<std::size_t>(words), 0);
    for (const int bit : bits)
        bitmap[static_cast<std::size_t>(bit / WordBits)] |= 1UL << (bit % WordBits);
    std::string text;
    for (int i = words - 1; i >= 0; --i) {
        char word[32];
        std::snprintf(word, sizeof word, "%lx", bitmap[static_cast<std::size_t>(i)]);
        if (text.empty() && bitmap[static_cast<std::size_t>(i)] == 0)
            continue;
        text += text.empty() ? word : std::string(" ") + word;
    }
    return text.empty() ? "0" : text;
}

} // namespace emulation
