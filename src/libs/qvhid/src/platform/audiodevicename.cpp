// SPDX-License-Identifier: BSD-3-Clause
#include "audiodevicename.h"

#include <algorithm>
#include <initializer_list>

namespace hid {

namespace {

using Match = SoundCardMatch;

// The forms are read by hand rather than by regular expressions: Qt's compiles them to machine
// code that reads past the end of strings, which memory checkers run over an application
// report as errors.

bool startsWithAny(const QString &name, std::initializer_list<const char *> prefixes, int *length = nullptr)
{
    for (const char *prefix : prefixes) {
        if (name.startsWith(QLatin1String(prefix))) {
            if (length)
                *length = int(qstrlen(prefix));
            return true;
        }
    }
    return false;
}

bool isAsciiDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

bool isWordCharacter(QChar c)
{
    return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == QLatin1Char('_'));
}

// The run of ASCII digits at `from`, at most `most` long; its length, 0 when none.
int digitsAt(const QString &text, int from, int most)
{
    int length = 0;
    while (from + length < text.size() && isAsciiDigit(text.at(from + length)))
        ++length;
    return length <= most ? length : 0;
}

Match found(int card, const QString &rule)
{
    Match match;
    match.kind = Match::Card;
    match.card = card;
    match.rule = rule;
    return match;
}

// PulseAudio makes every byte outside A-Z a-z 0-9 . - _ of a card's udev id a '_' when it
// names the card; PipeWire keeps them. Both sides made so compare equal either way.
QByteArray soundServerForm(const QString &text)
{
    QByteArray bytes = text.toUtf8();
    for (char &c : bytes) {
        const bool valid = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.'
            || c == '-' || c == '_';
        if (!valid)
            c = '_';
    }
    return bytes;
}

// alsa_output.<udev id>.<profile>, alsa_input.<udev id>.<profile>, alsa_card.<udev id>. The
// profile ("analog-stereo", "mono-fallback", "pro-output-0", ...) may hold dots itself, and so
// may the udev id: a card matches when its id is the whole rest or is followed by a dot, and
// the longest such id wins.
Match bySoundServerName(const QString &name, const QVector<SoundCard> &cards)
{
    int prefixLength = 0;
    if (!startsWithAny(name, {"alsa_output.", "alsa_input.", "alsa_card."}, &prefixLength))
        return {};
    const QByteArray rest = soundServerForm(name.mid(prefixLength));
    int best = -1;
    int bestLength = 0;
    for (int i = 0; i < cards.size(); ++i) {
        const QByteArray id = soundServerForm(cards[i].udevId);
        if (id.isEmpty() || id.size() <= bestLength)
            continue;
        if (rest == id || rest.startsWith(id + '.')) {
            best = i;
            bestLength = id.size();
        }
    }
    if (best < 0)
        return {};
    const SoundCard &card = cards[best];
    return found(best,
                 QStringLiteral("sound-server name of udev ID_ID \"%1\"%2")
                     .arg(card.udevId, card.udevIdDerived ? QStringLiteral(" (made from sysfs)") : QString()));
}

// CARD=<id> anywhere in an ALSA device hint: "sysdefault:CARD=Headset20",
// "front:CARD=Headset20,DEV=0". ALSA also takes a card index there.
Match byAlsaCardId(const QString &name, const QVector<SoundCard> &cards)
{
    const QString key = QStringLiteral("CARD=");
    int at = -1;
    for (int from = 0; (at = name.indexOf(key, from)) > 0; from = at + 1) {
        const QChar before = name.at(at - 1);
        if (before == QLatin1Char(':') || before == QLatin1Char(',') || before.isSpace())
            break;
    }
    if (at < 0)
        return {};
    int end = at + key.size();
    while (end < name.size() && name.at(end) != QLatin1Char(',') && name.at(end) != QLatin1Char(')')
           && !name.at(end).isSpace())
        ++end;
    const QString id = name.mid(at + key.size(), end - at - key.size());
    if (id.isEmpty())
        return {};
    for (int i = 0; i < cards.size(); ++i) {
        if (cards[i].id == id)
            return found(i, QStringLiteral("ALSA card id CARD=%1").arg(id));
    }
    bool isIndex = false;
    const int number = id.toInt(&isIndex);
    for (int i = 0; isIndex && i < cards.size(); ++i) {
        if (cards[i].number == number)
            return found(i, QStringLiteral("ALSA card index CARD=%1").arg(id));
    }
    return {};
}

// hw:N, hw:N,M, plughw:N[,M], also inside a description such as "... (hw:2,0)".
Match byAlsaCardIndex(const QString &name, const QVector<SoundCard> &cards)
{
    const QString key = QStringLiteral("hw:");
    for (int at = name.indexOf(key); at >= 0; at = name.indexOf(key, at + 1)) {
        int start = at;
        if (at >= 4 && name.mid(at - 4, 4) == QLatin1String("plug"))
            start = at - 4;
        if (start > 0 && isWordCharacter(name.at(start - 1)))
            continue;
        const int cardDigits = digitsAt(name, at + key.size(), 5);
        if (cardDigits == 0)
            continue;
        int end = at + key.size() + cardDigits;
        if (end < name.size() && name.at(end) == QLatin1Char(',')) {
            const int deviceDigits = digitsAt(name, end + 1, 5);
            if (deviceDigits == 0)
                continue;
            end += 1 + deviceDigits;
        }
        if (end < name.size() && isAsciiDigit(name.at(end)))
            continue;
        const int number = name.mid(at + key.size(), cardDigits).toInt();
        for (int i = 0; i < cards.size(); ++i) {
            if (cards[i].number == number)
                return found(i, QStringLiteral("ALSA card index %1").arg(name.mid(start, end - start)));
        }
        return {};
    }
    return {};
}

// A browser labels a USB device "<description> (0b0e:030d)". The first card of these ids
// wins; identical headsets cannot be told apart by this form.
Match byUsbIds(const QString &name, const QVector<SoundCard> &cards)
{
    // "(vvvv:pppp)": eleven characters at the very end.
    if (name.size() < 11 || !name.endsWith(QLatin1Char(')')) || name.at(name.size() - 11) != QLatin1Char('(')
        || name.at(name.size() - 6) != QLatin1Char(':'))
        return {};
    const QString vendorText = name.mid(name.size() - 10, 4);
    const QString productText = name.mid(name.size() - 5, 4);
    const auto isHex = [](const QString &text) {
        return std::all_of(text.begin(), text.end(), [](QChar c) {
            return c.unicode() < 0x80 && (isAsciiDigit(c) || QStringLiteral("abcdefABCDEF").contains(c));
        });
    };
    if (!isHex(vendorText) || !isHex(productText))
        return {};
    const uint vendorId = vendorText.toUInt(nullptr, 16);
    const uint productId = productText.toUInt(nullptr, 16);
    for (int i = 0; i < cards.size(); ++i) {
        if (cards[i].isUsb() && cards[i].vendorId == vendorId && cards[i].productId == productId)
            return found(i, QStringLiteral("USB ids %1:%2").arg(vendorText.toLower(), productText.toLower()));
    }
    return {};
}

// "Office Headset 20 Analog Stereo", "Office Headset 20, USB Audio", "Office Headset 20: USB
// Audio": the card's name, then the end, a blank, ',' or ':'. White space is compared as
// single blanks. The longest name wins, and among equal names the first card.
Match byDescription(const QString &name, const QVector<SoundCard> &cards)
{
    const QString text = name.simplified();
    int best = -1;
    int bestLength = 0;
    for (int i = 0; i < cards.size(); ++i) {
        if (!cards[i].isUsb())
            continue;
        const QString cardName = cards[i].displayName().simplified();
        if (cardName.size() <= bestLength || !text.startsWith(cardName))
            continue;
        const QChar next = text.size() > cardName.size() ? text.at(cardName.size()) : QChar();
        if (next.isNull() || next == QLatin1Char(' ') || next == QLatin1Char(',') || next == QLatin1Char(':')) {
            best = i;
            bestLength = cardName.size();
        }
    }
    if (best < 0)
        return {};
    return found(best,
                 QStringLiteral("description beginning with the card's name \"%1\"")
                     .arg(cards[best].displayName().simplified()));
}

} // namespace

SoundCardMatch ResolveAudioDeviceName(const QString &name, const QVector<SoundCard> &cards)
{
    const QString trimmed = name.trimmed();
    if (startsWithAny(trimmed, {"bluez_output.", "bluez_input.", "bluez_card.", "bluez_sink.", "bluez_source."})) {
        Match match;
        match.kind = Match::Bluetooth;
        match.rule = QStringLiteral("Bluetooth device name");
        return match;
    }
    for (auto rule : {bySoundServerName, byAlsaCardId, byAlsaCardIndex, byUsbIds, byDescription}) {
        const Match match = rule(trimmed, cards);
        if (match.kind == Match::Card)
            return match;
    }
    return {};
}

} // namespace hid
