// SPDX-License-Identifier: GPL-3.0-or-later
// A thread that ends the process as soon as the application's end of either pipe closes: nobody
// waits for a decode that is under way then, however long it would take.
#pragma once

namespace quill::decoder {

void StartWatcher(int readDescriptor, int writeDescriptor);

}  // namespace quill::decoder
