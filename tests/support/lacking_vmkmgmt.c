/* SPDX-License-Identifier: GPL-3.0-or-later */
/* A platform library without vmk_MgmtUserDestroy. It must not be used at all. */
int vmk_MgmtUserInit(void) { __builtin_trap(); }
int vmk_MgmtUserCallbackInvokeInt(void) { __builtin_trap(); }
