/*
 * What happens to protocols and their routes: registration, the client's death and return, and the sweeps.
 */
#pragma once

#include "server/server.h"

struct rib_registration {
    std::string_view proto_name;
    std::string_view instance_name;
    std::array<uint32_t, 4> words = {};
    uint64_t word64 = 0;
};

/* 0; EINVAL (no name, or a word is out of range), EPERM (the policy), EBUSY (another client has the names), ENOSPC (no identifier
 * is free). */
errcode rib_protocol_register(rib_server &server, rib_session &session, const rib_registration &in, rib_protoid_td *id);
/* Finds a protocol that the session owns: 0, RIB_SRV_ERR_NOT_FOUND or EPERM. */
errcode rib_protocol_owned(rib_server &server, const rib_session &session, rib_protoid_td id, rib_protocol **protocol);
/* Finds a protocol whose routes the session may withdraw: its own, or a gone owner's where the policy allows it. */
errcode rib_protocol_purgeable(rib_server &server, rib_session &session, rib_protoid_td id, rib_protocol **protocol);
/* Sets the registration words. 0, or EINVAL with nothing changed. */
errcode rib_protocol_set_words(rib_server &server, rib_protocol &protocol, const std::array<uint32_t, 4> &words);

enum class rib_farewell : uint32_t { withdraw = 0, hold = 1 };
/* The owner lets go of a protocol. */
void rib_protocol_release(rib_server &server, rib_protocol &protocol, rib_farewell farewell);
/* Forgets a protocol that has neither owner nor routes. */
void rib_protocol_forget_when_idle(rib_server &server, rib_protocol &protocol);
/* All that the protocol has not sent again since its client returned is withdrawn. */
void rib_protocol_complete(rib_server &server, rib_protocol &protocol);
/* Withdraws the protocol's routes in one table, or in all of them. */
enum class rib_which { all, stale };
void rib_protocol_withdraw(rib_table &table, const rib_protocol &protocol, rib_which which);
void rib_protocol_withdraw(rib_server &server, const rib_protocol &protocol, rib_which which);

/* The session ends: its protocols are held. */
void rib_hold_protocols_of(rib_server &server, const rib_session *session);
/*
 * Withdraws all that dead clients of that name left: 0, EBUSY (one of the name lives), RIB_SRV_ERR_NOT_FOUND, or EPERM with
 * nothing changed (the policy keeps one of the protocols from the session).
 */
errcode rib_purge_dead_client(rib_server &server, rib_session &session, std::string_view process, std::string_view node);
