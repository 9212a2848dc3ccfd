/*
 * The attribute that lists the SIDs of a path. It has two names: the SIDs, and how the headend encapsulates.
 */
#pragma once

#include "attribute_value.h"

#include <platform/srv6.h>

/* Each SID "ADDRESS[/STRUCTURE][@BEHAVIOUR]", its structure a format's name or BLOCK-NODE-FUNCTION-ARGUMENT in bits. */
const char *parse_sids(const words_t &words, value_t *value);
const char *parse_encap(const words_t &words, value_t *value);
json show_sids(const value_t &value);
json show_encap(const value_t &value);

/* As the library takes it. */
srv6_sid_list_t sid_list_of(const value_t &value);
