/*
 * Protocol batches: further instances of the session's protocol, and the ends of registrations.
 */
#include <cerrno>
#include <cstring>

#include "ip/rib/wire/batch_results.h"
#include "server/batch_apply.h"
#include "server/lifecycle.h"
#include "server/protocol_requests.h"

/* The RIB result that goes with a code. */
static int32_t result_of(errcode code)
{
    switch (code) {
    case 0:
        return RIB_RESULT_OK;
    case EINVAL:
        return RIB_RESULT_INVALID_PARAMETER;
    case ENOSPC:
        return RIB_RESULT_SYSTEM_ERROR;
    default:
        return RIB_RESULT_INVALID_HANDLE;
    }
}

static errcode add_instance(rib_batch_run &run, const rib_batch_proto_rec_td &record, rib_protoid_td *id)
{
    const std::string first_proto_name = run.session.first_proto_name;
    rib_registration in;
    in.proto_name = first_proto_name.empty() ? run.session.process : first_proto_name;
    in.words = {record.bpi_word1, record.bpi_words[0], record.bpi_words[1], record.bpi_words[2]};
    in.word64 = record.bpi_word64;
    if (!rib_text_of(record.bpi_instance, sizeof record.bpi_instance, &in.instance_name))
        return EINVAL;
    return rib_protocol_register(run.server, run.session, in, id);
}

static errcode end_instance(rib_batch_run &run, const rib_batch_proto_rec_td &record)
{
    rib_protocol *protocol;
    if (const errcode refusal = rib_protocol_owned(run.server, run.session, record.bpi_protoid, &protocol))
        return refusal;
    if (record.bpi_word1 > static_cast<uint32_t>(rib_farewell::hold))
        return EINVAL;
    rib_protocol_release(run.server, *protocol, static_cast<rib_farewell>(+record.bpi_word1));
    return 0;
}

static void apply_record(rib_batch_run &run, const uint8_t *bytes)
{
    auto record = rib_load<rib_batch_proto_rec_td>(bytes);
    rib_to_host(&record);
    const bool adds = record.bpi_operation == RIB_BATCH_PROTO_ADD;
    rib_protoid_td id = adds ? RIB_PROTOID_NONE : +record.bpi_protoid;
    const errcode code = adds ? add_instance(run, record, &id) : end_instance(run, record);
    auto *out = reinterpret_cast<rib_proto_result *>(rib_batch_result(run, sizeof(rib_proto_result)));
    out->pr_operation = record.bpi_operation;
    if (adds)
        std::memcpy(out->pr_instance_name, record.bpi_instance, sizeof record.bpi_instance);
    out->pr_result = result_of(code);
    out->pr_protoid = id;
    out->pr_err = code;
    rib_proto_result_net::swap(out);
    ++run.count;
    run.refused += code != 0;
}

void rib_batch_apply_protocols(rib_batch_run &run, const uint8_t *msg, size_t entries)
{
    const uint8_t *at = msg + sizeof(rib_batch_header_td);
    for (; entries != 0; --entries, at += sizeof(rib_batch_proto_rec_td))
        apply_record(run, at);
}
