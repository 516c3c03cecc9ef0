#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Checks what the two shared libraries export: their SONAMEs, the public API that must be
# there, and nothing else (no standard-library or Qt template code, no internal helpers).
# usage: check_exported_symbols.sh QT_MAJOR_VERSION LIBQVHID LIBQVCOMMON LIBHIDAPI_PARSER LIBQVHID_VIRTUAL
set -euo pipefail
qt=$1
qvhid=$2
qvcommon=$3
parser=$4
virtual=$5
status=0
# What differs between the Qt 5 and the Qt 6 build: the names of the libraries that link Qt,
# and QVector, which is QList in Qt 6.
suffix=""
vector=QVector
if [ "$qt" -eq 6 ]; then
    suffix=-qt6
    vector=QList
fi

exported() { nm -D --defined-only "$1" | awk '{ $1 = ""; $2 = ""; sub(/^ +/, ""); print }' | c++filt; }

check_soname() {
    local soname
    soname=$(readelf -d "$1" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
    if [ "$soname" != "$2" ]; then
        echo "FAIL: $1 has SONAME '$soname', expected '$2'"
        status=1
    fi
}

# check_only LIB ALLOWED_REGEX: every exported symbol matches the regex.
check_only() {
    local stray
    stray=$(exported "$1" | grep -v -E "$2" || true)
    if [ -n "$stray" ]; then
        echo "FAIL: $1 exports symbols that are not its own API:"
        echo "$stray"
        status=1
    fi
}

# check_has LIB SYMBOL...: each named symbol is exported (matched at the start of the name).
check_has() {
    local lib=$1 symbol
    shift
    local symbols
    symbols=$(exported "$lib")
    for symbol in "$@"; do
        if ! grep -q -F -x -e "$symbol" <<<"$symbols"; then
            echo "FAIL: $lib does not export $symbol"
            status=1
        fi
    done
}

check_soname "$qvhid" "libqvhid$suffix.so.1"
check_soname "$qvcommon" "libqvcommon$suffix.so.1"
check_soname "$parser" libhidapi_parser.so.1
check_soname "$virtual" libqvhid_virtual.so.1

own='((qv::)?hid::|common::CSingleton<qv::hid::)'
check_only "$qvhid" "^((typeinfo for |typeinfo name for |vtable for |non-virtual thunk to |guard variable for )?$own|qInitResources_qvhid\(\)$|qCleanupResources_qvhid\(\)$)"
check_only "$qvcommon" '^((typeinfo for |typeinfo name for |vtable for )?common::logger::)'
check_only "$parser" '^hid_[a-z_]+$'
check_only "$virtual" '^(hid_[a-z_]+$|(typeinfo for |typeinfo name for )?hid::virt::)'

check_has "$qvhid" \
    'qv::hid::HidDeviceManager::SetDeviceList(int, QList<QString>)' \
    'qv::hid::HidDeviceManager::AddDevice(int, QString const&)' \
    'qv::hid::HidDeviceManager::SetTopDevice(int, QString const&)' \
    'qv::hid::HidDeviceManager::RemoveDevice(int, QString const&)' \
    'qv::hid::HidDeviceManager::RemoveDevice(QString const&)' \
    'qv::hid::HidDeviceManager::GetTopDevice(int) const' \
    'qv::hid::HidDeviceManager::staticMetaObject' \
    'common::CSingleton<qv::hid::HidDeviceManager>::Instance()' \
    'common::CSingleton<qv::hid::HidDeviceManager>::Instance()::instance' \
    'hid::HidCode::HidCode()' \
    'hid::HidCode::initStdCommands()' \
    'hid::valToUint(QJsonValue const&, unsigned int)' \
    'hid::valToClickType(QJsonValue const&, hid::ClickType)' \
    'hid::valToUsage(QJsonValue const&)' \
    'typeinfo for hid::HidCode' \
    'hid::HidDeviceDict::init()' \
    'hid::HidDeviceDict::init(QString const&)' \
    'hid::HidDeviceDict::getHidCode(unsigned short, unsigned short, bool&)' \
    'qInitResources_qvhid()' \
    'qCleanupResources_qvhid()' \
    'hid::HIDParserBase::parseReportData(unsigned char const*, unsigned short, hid::HIDReportInfo&)' \
    'hid::HIDParserBase::decodeReport(unsigned char*, unsigned char, std::vector<hid::HIDReportItem*, std::allocator<hid::HIDReportItem*> >&, unsigned char, hid::HIDReportItemTypes)' \
    'hid::HIDParserBase::makeOutputReport(unsigned char*, unsigned char, std::vector<hid::HIDReportItem*, std::allocator<hid::HIDReportItem*> >&, unsigned char)' \
    'hid::HIDReportInfo::~HIDReportInfo()' \
    'hid::HIDReportInfo::findCollection(unsigned short, unsigned short) const' \
    'hid::HIDReportInfo::isEmptyValue(hid::HIDCollection*, hid::HIDReportItemTypes, unsigned short, unsigned short, unsigned char) const' \
    'hid::HIDReportDetails::HIDReportDetails()' \
    'typeinfo for hid::HIDParserBase' \
    'hid::HidDecoderBase::HidDecoderBase(hid::HidDeviceInfo const&, hid_device_*)' \
    'hid::HidDecoderBase::isSet(std::vector<unsigned short, std::allocator<unsigned short> > const&, unsigned short)' \
    'hid::HidDecoder::HidDecoder(hid::HidDeviceInfo const&, hid_device_*)' \
    'hid::CreateHidDecoder(hid::HidDeviceInfo const&, hid_device_*)' \
    'typeinfo for hid::HidDecoderBase' \
    'typeinfo for hid::HidDecoder' \
    'hid::HidDevice::chooseAudioDevice(QString const&)' \
    'hid::ListSoundCards(hid::SystemView const&)' \
    'hid::UsbDeviceOfHidPath(hid::SystemView const&, QString const&)' \
    "hid::ResolveAudioDeviceName(QString const&, $vector<hid::SoundCard> const&)"
check_has "$parser" hid_read_descriptor hid_parse_descriptor hid_read_sysfs_descriptor \
    hid_set_element_callback hid_parse_input_report hid_get_output_report
check_has "$virtual" hid_init hid_exit hid_enumerate hid_free_enumeration hid_open hid_open_path \
    hid_write hid_read hid_read_timeout hid_set_nonblocking hid_close hid_get_device_info \
    hid_get_report_descriptor hid_get_product_string hid_get_manufacturer_string hid_error \
    'hid::virt::VirtualDevice::add(hid::virt::DeviceDescription const&)' 'hid::virt::models()'
check_has "$qvcommon" \
    'common::logger::GetLogger()' \
    'common::logger::SetLogger(common::logger::ILogger*)' \
    'common::logger::Message::Stream()' \
    'typeinfo for common::logger::IMessage' \
    'typeinfo for common::logger::ILogger'

[ $status -eq 0 ] && echo "exported symbols: OK"
exit $status
