// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_ELEMENTS_H
#define QVHID_PROBE_ELEMENTS_H

#include <hidapi_parser.h>

namespace probe {

// Calls `visit` with every element of `collection` and of all collections inside it.
template<typename Visit> void forEachElement(const hid_collection *collection, Visit visit)
{
    for (const hid_element *element = collection->first_element; element; element = element->next)
        visit(*element);
    for (const hid_collection *child = collection->first_child; child; child = child->next_sibling)
        forEachElement(child, visit);
}

} // namespace probe

#endif // QVHID_PROBE_ELEMENTS_H
