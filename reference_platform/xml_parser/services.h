/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * The fault switches of the parser. Besides the services' own names there are two that change what a list call reports:
 *
 *   xml_get_entry_list:count <n> <value>   the n-th list call succeeds and reports <value> as the count
 *   xml_get_entry_list:null <n> 0          the n-th list call succeeds with a NULL list and the true count
 *
 * xml_is_element_exist answers "status is not 0" when it is switched.
 */
#ifndef REFERENCE_PLATFORM_XML_SERVICES_H
#define REFERENCE_PLATFORM_XML_SERVICES_H

struct fault_switches;

extern struct fault_switches g_xml_switches;

#endif
