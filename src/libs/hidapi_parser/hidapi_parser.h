// SPDX-License-Identifier: BSD-3-Clause
/*
 * hidapi_parser: report descriptors and reports of devices opened with hidapi.
 *
 * Reads the report descriptor of an opened hidapi device, parses it as HID 1.11 describes
 * (global and local item state, PUSH and POP, nested collections, usage ranges, extended
 * 32-bit usages, variable and array fields, report ids), decodes input reports field by
 * field and packs output reports from values that the caller sets.
 *
 * The parsed descriptor is one heap block: free() on the pointer that hid_read_descriptor()
 * or hid_parse_descriptor() returned releases the descriptor with all of its collections and
 * elements. Every pointer inside it points into that block.
 *
 * Functions that take a descriptor may be called from any thread, but one descriptor must not
 * be used by two threads at the same time (input report parsing stores values in it).
 */
#ifndef HIDAPI_PARSER_H
#define HIDAPI_PARSER_H

#include <stddef.h>
#include <stdint.h>

#include "hidapi_parser_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** hidapi's opaque device handle (hidapi.h declares it the same way). */
struct hid_device_;
typedef struct hid_device_ hid_device;

/* Direction of an element: the main item that declared it. */
#define HID_ELEMENT_INPUT 1
#define HID_ELEMENT_OUTPUT 2
#define HID_ELEMENT_FEATURE 3

/* Data bits of the main item (HID 1.11, 6.2.2.5), as kept in hid_element.flags. */
#define HID_ELEMENT_CONSTANT 0x001 /* else Data */
#define HID_ELEMENT_VARIABLE 0x002 /* else Array */
#define HID_ELEMENT_RELATIVE 0x004 /* else Absolute */
#define HID_ELEMENT_WRAP 0x008
#define HID_ELEMENT_NONLINEAR 0x010
#define HID_ELEMENT_NO_PREFERRED 0x020
#define HID_ELEMENT_NULL_STATE 0x040
#define HID_ELEMENT_VOLATILE 0x080
#define HID_ELEMENT_BUFFERED_BYTES 0x100

/* Limits of what a descriptor may declare; a descriptor beyond them is rejected. */
#define HID_PARSER_MAX_DESCRIPTOR_SIZE 4096
#define HID_PARSER_MAX_PUSH_DEPTH 16
#define HID_PARSER_MAX_COLLECTION_DEPTH 32
#define HID_PARSER_MAX_REPORT_SIZE 32     /* bits of one value of a field that has usages */
#define HID_PARSER_MAX_REPORT_COUNT 12288 /* values in one main item */
#define HID_PARSER_MAX_REPORT_BYTES 16384 /* one report, without its id byte (as hidraw) */
#define HID_PARSER_MAX_ARRAY_USAGES 4096  /* selectors of one array field; more are ignored */
#define HID_PARSER_MAX_ELEMENTS 65536     /* elements of the whole descriptor */

struct hid_collection;
struct hid_field;             /**< internal: the main item an element belongs to */
struct hid_descriptor_layout; /**< internal: fields and report sizes */

/**
 * One value of a report.
 *
 * A variable field yields one element per value, each with its own usage. An array field
 * yields one element per usage that its array may hold; such an element's value is 1 while
 * its usage is in the array and 0 otherwise, and setting its output_value to non-zero puts its
 * usage into the array of an output report. A field without any usage (padding) yields no
 * element.
 */
struct hid_element
{
    struct hid_element *next;          /**< next element listed directly in the same collection */
    struct hid_collection *collection; /**< the collection that lists it */
    int direction;                     /**< HID_ELEMENT_INPUT, _OUTPUT or _FEATURE */
    unsigned int flags;                /**< HID_ELEMENT_CONSTANT ... of its main item */
    unsigned short usage_page;
    unsigned short usage;
    unsigned char report_id;   /**< 0 on a device that declares no report ids */
    unsigned int bit_offset;   /**< of its value (an array: of the first slot) in the
                                          report, counted after the report id byte */
    unsigned int bit_size;     /**< of its value (an array: of one slot) */
    unsigned int report_count; /**< 1 for a variable; the slots of an array */
    int64_t logical_minimum;
    int64_t logical_maximum;
    int64_t value;        /**< as last read by hid_parse_input_report() */
    int64_t output_value; /**< what hid_get_output_report() packs */
    const struct hid_field *field;
};

/** A collection. The device collection is the root: its children are the top-level
 * collections, and main items outside any collection are listed as its elements. */
struct hid_collection
{
    struct hid_collection *parent; /**< null for the device collection */
    struct hid_collection *next_sibling;
    struct hid_collection *first_child;
    struct hid_element *first_element; /**< elements listed directly in it, in order */
    unsigned int type;                 /**< data of the Collection item: 0 physical,
                                             1 application, 2 logical, ... */
    unsigned short usage_page;         /**< 0 with usage 0: the device collection, or a
                                             collection declared without a usage */
    unsigned short usage;
    int num_children;
    int num_elements;
};

/**
 * Called by hid_parse_input_report() once for each element in which something happened:
 *
 * - an absolute variable element whose usage is an on/off control (on the Telephony page:
 *   Hook Switch 0x20, Hold 0x23, Park 0x27, Forward Calls 0x28, Speaker Phone 0x2B,
 *   Conference 0x2C, Ring Enable 0x2D, Phone Mute 0x2F, Send 0x31, Line Busy Tone 0x97):
 *   whenever its value changes, so that going off-hook and going back on-hook are both
 *   events;
 * - any other absolute variable element (a button, Flash, Drop, a programmable button):
 *   only when its value changes from 0 to non-zero; its release is no event;
 * - a relative variable element: whenever its value is not 0 (headsets send Phone Mute and
 *   Flash as relative one-shots, 1 and then 0);
 * - an array element: when its usage newly appears in the array; one that leaves it is no
 *   event. A slot that selects usage 0 (Undefined) selects nothing.
 *
 * Reporting every element of every report, or releases as well as presses, would let a
 * caller that turns reported usages into gestures see each gesture twice: on real headset
 * descriptors the release of Drop or of a programmable button would send a second reject, and
 * the zero that follows a relative Phone Mute would toggle mute back.
 */
typedef void (*hid_element_callback)(const struct hid_element *element, void *user_data);

struct hid_descriptor
{
    struct hid_collection *device_collection;
    int num_collections; /**< without the device collection */
    int num_elements;
    int uses_report_ids; /**< 1 when the descriptor declares report ids */
    hid_element_callback element_callback;
    void *callback_data;
    const struct hid_descriptor_layout *layout;
};

/**
 * Reads the report descriptor of an opened device and parses it. The bytes come from the
 * hidapi in the process: from hid_get_report_descriptor() when it has one (hidapi 0.14 and
 * later, and the virtual headset library), otherwise, for a hidraw device, from
 * /sys/class/hidraw/hidrawN/device/report_descriptor, N being that of the device's path.
 * Returns null when the descriptor cannot be read or is not valid. Release with free().
 */
HIDAPI_PARSER_EXPORT struct hid_descriptor *hid_read_descriptor(hid_device *device);

/** Parses descriptor bytes (1 to HID_PARSER_MAX_DESCRIPTOR_SIZE of them). Returns null when
 * they are not a valid descriptor. Release with free(). */
HIDAPI_PARSER_EXPORT struct hid_descriptor *hid_parse_descriptor(const unsigned char *bytes, size_t length);

/** Reads the descriptor of the hidraw device at `device_path` ("/dev/hidrawN") from the
 * sysfs mounted at `sysfs_root` ("/sys") into `buffer`. Returns the number of bytes, or -1
 * when the path is not a hidraw node or the file cannot be read or does not fit. */
HIDAPI_PARSER_EXPORT int hid_read_sysfs_descriptor(const char *sysfs_root, const char *device_path,
                                                   unsigned char *buffer, size_t buffer_size);

/** Sets the function that hid_parse_input_report() calls for reported elements, with
 * `user_data` as its second argument. A null callback reports nothing. */
HIDAPI_PARSER_EXPORT void hid_set_element_callback(struct hid_descriptor *descriptor, hid_element_callback callback,
                                                   void *user_data);

/**
 * Decodes one input report, `buffer` as hidapi's read returns it: its first byte is the
 * report id only when the descriptor declares report ids. Stores the value of every element
 * of the report, then calls the element callback for each element in which something
 * happened (see hid_element_callback), in element order.
 * Returns the number of elements reported, or -1 (and calls nothing) for a null argument,
 * a report id that has no input report, or a buffer shorter than the report.
 */
HIDAPI_PARSER_EXPORT int hid_parse_input_report(const unsigned char *buffer, size_t length,
                                                struct hid_descriptor *descriptor);

/**
 * Builds the output report `report_id` (0 on a device without report ids) from the
 * output_value of its elements: a malloc()ed buffer [report id, or 0][the report's bytes],
 * ready for hid_write(), whose size is stored in *length. Returns null for an id that has no
 * output report. Release with free().
 */
HIDAPI_PARSER_EXPORT unsigned char *hid_get_output_report(const struct hid_descriptor *descriptor,
                                                          unsigned char report_id, size_t *length);

#ifdef __cplusplus
}
#endif

#endif /* HIDAPI_PARSER_H */
