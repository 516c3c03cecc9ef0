// SPDX-License-Identifier: BSD-3-Clause
// Stage two of parsing: lays the collected collections, elements, fields and reports out in
// one heap block, so that the caller releases a parsed descriptor with a single free().

#include "descriptorlayout.h"
#include "itemparser.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <numeric>

namespace hidparser {

namespace {

constexpr std::size_t alignUp(std::size_t offset)
{
    constexpr std::size_t alignment = alignof(std::max_align_t);
    return (offset + alignment - 1) / alignment * alignment;
}

unsigned short pageOf(ExtendedUsage usage)
{
    return static_cast<unsigned short>(usage >> 16);
}

unsigned short idOf(ExtendedUsage usage)
{
    return static_cast<unsigned short>(usage & 0xFFFF);
}

// Where each part starts within the block.
struct BlockPlan
{
    std::size_t layout = 0;
    std::size_t collections = 0;
    std::size_t elements = 0;
    std::size_t fields = 0;
    std::size_t reports = 0;
    std::size_t total = 0;

    explicit BlockPlan(const ParsedDescriptor &parsed)
    {
        layout = alignUp(sizeof(hid_descriptor));
        collections = alignUp(layout + sizeof(hid_descriptor_layout));
        elements = alignUp(collections + sizeof(hid_collection) * (parsed.collections.size() + 1));
        fields = alignUp(elements + sizeof(hid_element) * parsed.elementCount);
        reports = alignUp(fields + sizeof(hid_field) * parsed.fields.size());
        total = reports + sizeof(hid_report_span) * parsed.reports.size();
    }
};

template<typename T> T *at(unsigned char *block, std::size_t offset)
{
    return reinterpret_cast<T *>(block + offset);
}

// Appends to singly linked lists in order, remembering each list's tail.
template<typename Node> void append(Node *&head, Node *&tail, Node *node)
{
    if (tail)
        tail->next = node;
    else
        head = node;
    tail = node;
}

void linkCollections(const ParsedDescriptor &parsed, hid_collection *collections)
{
    std::vector<hid_collection *> lastChild(parsed.collections.size() + 1, nullptr);
    for (std::size_t i = 0; i < parsed.collections.size(); ++i) {
        const ParsedCollection &source = parsed.collections[i];
        hid_collection &collection = collections[i + 1];
        hid_collection &parent = collections[source.parent + 1];
        collection.type = source.type;
        collection.usage_page = pageOf(source.usage);
        collection.usage = idOf(source.usage);
        collection.parent = &parent;
        hid_collection *&tail = lastChild[source.parent + 1];
        if (tail)
            tail->next_sibling = &collection;
        else
            parent.first_child = &collection;
        tail = &collection;
        ++parent.num_children;
    }
}

// Fields grouped by report (in order of the reports' first appearance), each report's fields
// in the order they occupy it.
std::vector<std::size_t> fieldsByReport(const ParsedDescriptor &parsed, std::vector<std::size_t> &reportOfField)
{
    reportOfField.resize(parsed.fields.size());
    for (std::size_t i = 0; i < parsed.fields.size(); ++i) {
        const ParsedField &field = parsed.fields[i];
        for (std::size_t r = 0; r < parsed.reports.size(); ++r) {
            if (parsed.reports[r].direction == field.direction && parsed.reports[r].reportId == field.reportId) {
                reportOfField[i] = r;
                break;
            }
        }
    }
    std::vector<std::size_t> order(parsed.fields.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return reportOfField[a] < reportOfField[b]; });
    return order;
}

hid_descriptor *buildDescriptorBlock(const ParsedDescriptor &parsed)
{
    const BlockPlan plan(parsed);
    auto *block = static_cast<unsigned char *>(std::calloc(1, plan.total));
    if (!block)
        return nullptr;

    auto *descriptor = new (block) hid_descriptor{};
    auto *layout = new (block + plan.layout) hid_descriptor_layout{};
    auto *collections = at<hid_collection>(block, plan.collections);
    auto *elements = at<hid_element>(block, plan.elements);
    auto *fields = at<hid_field>(block, plan.fields);
    auto *reports = at<hid_report_span>(block, plan.reports);
    for (std::size_t i = 0; i <= parsed.collections.size(); ++i)
        new (&collections[i]) hid_collection{};

    descriptor->device_collection = &collections[0];
    descriptor->num_collections = static_cast<int>(parsed.collections.size());
    descriptor->num_elements = static_cast<int>(parsed.elementCount);
    descriptor->uses_report_ids = parsed.usesReportIds ? 1 : 0;
    descriptor->layout = layout;
    linkCollections(parsed, collections);

    std::vector<std::size_t> reportOfField;
    const std::vector<std::size_t> order = fieldsByReport(parsed, reportOfField);
    std::vector<hid_field *> fieldOfParsed(parsed.fields.size());
    std::size_t nextElement = 0;
    for (std::size_t slot = 0; slot < order.size(); ++slot) {
        const ParsedField &source = parsed.fields[order[slot]];
        hid_field *field = new (&fields[slot]) hid_field{};
        fieldOfParsed[order[slot]] = field;
        field->direction = source.direction;
        field->flags = source.flags;
        field->report_id = source.reportId;
        field->bit_offset = source.bitOffset;
        field->bit_size = source.bitSize;
        field->report_count = source.reportCount;
        field->logical_minimum = source.logicalMinimum;
        field->logical_maximum = source.logicalMaximum;
        field->first_element = &elements[nextElement];
        field->num_elements = static_cast<unsigned int>(source.usages.size());
        const bool array = isArray(*field);
        for (std::size_t u = 0; u < source.usages.size(); ++u) {
            hid_element *element = new (&elements[nextElement++]) hid_element{};
            element->collection = &collections[source.collection + 1];
            element->direction = source.direction;
            element->flags = source.flags;
            element->usage_page = pageOf(source.usages[u]);
            element->usage = idOf(source.usages[u]);
            element->report_id = source.reportId;
            element->bit_offset =
                array ? source.bitOffset : source.bitOffset + static_cast<unsigned int>(u) * source.bitSize;
            element->bit_size = source.bitSize;
            element->report_count = array ? source.reportCount : 1;
            element->logical_minimum = source.logicalMinimum;
            element->logical_maximum = source.logicalMaximum;
            element->field = field;
        }
    }

    // Each collection lists its elements in the order the descriptor declares them.
    std::vector<hid_element *> lastElement(parsed.collections.size() + 1, nullptr);
    for (std::size_t i = 0; i < parsed.fields.size(); ++i) {
        hid_field *field = fieldOfParsed[i];
        hid_collection &collection = collections[parsed.fields[i].collection + 1];
        for (unsigned int e = 0; e < field->num_elements; ++e) {
            append(collection.first_element, lastElement[parsed.fields[i].collection + 1], &field->first_element[e]);
            ++collection.num_elements;
        }
    }

    std::size_t firstField = 0;
    for (std::size_t r = 0; r < parsed.reports.size(); ++r) {
        hid_report_span *report = new (&reports[r]) hid_report_span{};
        report->direction = parsed.reports[r].direction;
        report->report_id = parsed.reports[r].reportId;
        report->byte_length = (parsed.reports[r].bitLength + 7) / 8;
        report->first_field = &fields[firstField];
        while (firstField + report->num_fields < order.size()
               && reportOfField[order[firstField + report->num_fields]] == r)
            ++report->num_fields;
        firstField += report->num_fields;
    }
    layout->fields = fields;
    layout->num_fields = static_cast<unsigned int>(parsed.fields.size());
    layout->reports = reports;
    layout->num_reports = static_cast<unsigned int>(parsed.reports.size());
    return descriptor;
}

} // namespace

const hid_report_span *findReport(const hid_descriptor *descriptor, int direction, unsigned char reportId)
{
    const hid_descriptor_layout *layout = descriptor->layout;
    for (unsigned int r = 0; r < layout->num_reports; ++r) {
        if (layout->reports[r].direction == direction && layout->reports[r].report_id == reportId)
            return &layout->reports[r];
    }
    return nullptr;
}

} // namespace hidparser

extern "C" hid_descriptor *hid_parse_descriptor(const unsigned char *bytes, size_t length)
{
    const std::optional<hidparser::ParsedDescriptor> parsed = hidparser::parseItems(bytes, length);
    if (!parsed)
        return nullptr;
    return hidparser::buildDescriptorBlock(*parsed);
}
