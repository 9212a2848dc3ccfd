/*
 * The roads, in groups that are chosen together. Each group measures all of its roads.
 */
#pragma once

#include "run.h"

void download_roads(bench_run &run); /* batches into a server */
void lookup_roads(bench_run &run);   /* single requests */
void listing_roads(bench_run &run);  /* the whole table in passes */
void dump_roads(bench_run &run);     /* the whole table to a consumer */
void churn_roads(bench_run &run);    /* changes to a consumer */
void withdraw_roads(bench_run &run); /* the whole table away */
void memory_roads(bench_run &run);   /* of server and client */
void netlink_roads(bench_run &run);  /* the kernel's table instead */
void large_roads(bench_run &run);    /* a table of ten million */
