#pragma once

/// Registers components of the names that the host creates, once a process. They read their source as text, each line
/// an order, so that a test's tree says what its jobs do:
///
///   write TEXT    to the output        need ID      open a packed resource, and write what it holds
///   use ID        open a source        depend ID    tell that it depends on a source
///   info TEXT, warning TEXT            fail         say no; fail TEXT: with a message
///   halt, assert, throw, abort, hang   what their names say
///   keep-open     leave the output open
///
/// A packer stops with no output when its source can't be opened. A scanner's lines are: take NAME, rig NAME, fail
/// TEXT, abort.
void RegisterFakeModule();
