/*
 * Attributes of a path under their names: read from words, shown, put into a batch, and taken from a record.
 */
#pragma once

#include "attribute_value.h"

#include <ipv6_rib/attributes.h>
#include <ipv6_rib/route.h>

#include <map>
#include <span>
#include <string_view>

/* By RIB_PATH_ATTR_*, each value as it stands in the record behind a path. */
using path_attributes = std::map<uint16_t, value_t>;
/* Of the paths of a route, up to the last one that has some. */
using paths_attributes = std::vector<path_attributes>;

struct attribute_kind {
    const char *name;
    const char *form; /* of its words */
    uint16_t type;
    const char *(*parse)(const words_t &words, value_t *value);
    json (*show)(const value_t &value);
};
std::span<const attribute_kind> attribute_kinds();

/* The words between commas. */
words_t split_words(std::string_view text);
/* NULL, or why the words are no such attribute. Each attribute is set at most once; the caller sees to that. */
const char *set_attribute(const attribute_kind &kind, const words_t &words, path_attributes *attributes);
/* Once all are set: NULL, or why they cannot be together. */
const char *check_attributes(const path_attributes &attributes);

/* Name and value; a protected bitmap only here, as no client can set it. */
json attributes_object(const path_attributes &attributes);
/* A value with commas between its items, as split_words() takes it apart. */
std::string joined_words(const json &value);
/* An object of names and values as "NAME VALUE,VALUE" with a separator ahead of each. */
std::string named_values_text(const json &object, std::string_view separator);

/* Room that the attributes of one path take. */
void add_sizes(const path_attributes &attributes, rib_batch_sizes *sizes);
/* What is to be announced when the path is opened. */
void announce(const path_attributes &attributes, rib_batch_path_init_in *path);
/* Sets them on the open path of a batch: empty, or which one was refused and why. */
std::string put_attributes(rib_batch_buffer *buffer, const path_attributes &attributes);

/* Those of a record that ipv6_rib_route_xform() has not seen yet. */
paths_attributes attributes_in(const ipv6_routetype &unconverted);
