// SPDX-License-Identifier: BSD-2-Clause
// Residuals at full size: a coded block is transformed where it stands.
#include "core/lanes.h"
#include "mpeg12/p4idct/exact.h"
#include "mpeg12/p4idct/fast.h"
#include "mpeg12/worker.h"

namespace tvk {

void ResidualFast(SliceWorker *worker) {
    const CodedBlock &block = worker->codedBlock;
    FastIdct<NativeLanes>::residual(block.values, block.form, block.rowValues());
}

void ResidualExact(SliceWorker *worker) {
    const CodedBlock &block = worker->codedBlock;
    const BlockForm form = block.form == BlockForm::single ? BlockForm::single : BlockForm::full;
    ExactIdct<NativeLanes>::residual(block.values, form, block.rowValues());
}

}  // namespace tvk
