// Everything, for hosts that do not mind.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ZELTRA_H_
#define ZELTRA_ZELTRA_H_

