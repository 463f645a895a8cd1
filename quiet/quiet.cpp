// SPDX-License-Identifier: Apache-2.0
#include "vantoro_quiet.h"

#include <initializer_list>
#include <vantoro/vantoro_preprocess.h>

#include "cascades.h"
#include "convolution.h"
#include "form.h"
#include "sections.h"

namespace {

// Null for a type without one.
const vquiet::Form* form_of(int type)
{
    for (const auto of_family : {vquiet::section_form, vquiet::cascade_form, vquiet::convolution_form})
        if (const vquiet::Form* form = of_family(type))
            return form;
    return nullptr;
}

}  // namespace

int Vantoro_quiet_takes(int type) { return form_of(type) ? 1 : 0; }

VantoroQuiet* Vantoro_quiet_create(BlockAlgo* blk)
{
    const vquiet::Form* form = blk ? form_of(blk->method_type) : nullptr;
    VantoroQuiet* quiet = form ? form->create(blk) : nullptr;
    if (!quiet)
        return nullptr;
    quiet->form = form;
    quiet->block = blk;
    if (form->prepare(quiet))
        return quiet;
    form->destroy(quiet);
    return nullptr;
}

int Vantoro_quiet_prepare(VantoroQuiet* quiet) { return quiet->form->prepare(quiet) ? RT_OK : RT_ERR_MALLOC; }

int Vantoro_quiet_process(VantoroQuiet* quiet, float** data_in, float** data_out)
{
    return quiet->form->process(quiet, data_in, data_out);
}

int Vantoro_quiet_clear(VantoroQuiet* quiet)
{
    const int result = BlockAlgo_clear(quiet->block);
    quiet->form->clear(quiet);
    return result;
}

void Vantoro_quiet_destroy(VantoroQuiet* quiet)
{
    if (quiet)
        quiet->form->destroy(quiet);
}
