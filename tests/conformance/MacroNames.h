// Macros with names that are usual in a vendor's headers. Code that uses one of the names after this does not compile.
// A macro for each name of the tables is generated from SdkMacros.inc.
#pragma once

#define VENDOR this is a macro of the vendor

// Short words that are usual as macros of rows.
#define FIELD_ACTION VENDOR
#define FIELD_IP_TYPE VENDOR
#define PACKET_RESULT VENDOR
#define SWITCH_CONTROL VENDOR
#define PORT_CONTROL VENDOR
#define VLAN_FLAG VENDOR
#define IP_OPTION_ACTION VENDOR
#define SDK_REGISTER VENDOR
#define REGISTER_FIELD VENDOR
#define SDK_MEMORY VENDOR
#define MEMORY_FIELD VENDOR
#define SDK_OPERATION VENDOR
#define SDK_QUESTION VENDOR
#define TCAM_OPERATION VENDOR
#define ENTRY VENDOR
#define PROMISE VENDOR
#define FEATURES_ATTRIBUTES VENDOR
#define ROW VENDOR
#define FIELD VENDOR
#define SCALAR VENDOR
#define ARRAY VENDOR
#define MAP VENDOR

#define bcm_pbmp_t VENDOR
#define bcm_vlan_control_vlan_s VENDOR
#define my_station_tcam_entry_t VENDOR
#define BCM_E_NONE VENDOR
#define BCM_FIELD_EXACT_MATCH_MASK VENDOR
#define BCM_STG_STP_FORWARD VENDOR
#define REG_PORT_ANY VENDOR
#define MEM_BLOCK_ANY VENDOR
#define CMIC_PORT VENDOR
#define BCM_HG_TRUNK_CANCEL_ACTION VENDOR
