/*
 * How ribd takes its memory: in huge pages, as searches in a large table go all over it.
 */
#include <jemalloc/jemalloc.h>

/* One thread does all the work; huge pages are asked for and not waited for, so that without them nothing changes. */
const char *malloc_conf = "narenas:1,thp:always,metadata_thp:auto";
