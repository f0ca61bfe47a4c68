// Exported names of the transform descriptor node.
#pragma once
#include "dft/node/signatures.h"
#include "frame/export.h"

QOR_DEF_API qor::dfxi::mem_methods_init_fn qor_dft_def_dfxi_mem_methods_init;

// The memory methods in force, installed by qor_dft_def_dfxi_mem_methods_init.
QOR_DEF_API dfxi_malloc_fn dfxi_malloc;
QOR_DEF_API dfxi_calloc_fn dfxi_calloc;
QOR_DEF_API dfxi_allocate_fn dfxi_allocate;
QOR_DEF_API dfxi_free_fn dfxi_free;
QOR_DEF_API dfxi_deallocate_fn dfxi_deallocate;

QOR_DEF_API qor::dfxi::create_node_fn qor_dft_def_dfxi_create_node;
QOR_DEF_API qor::dfxi::create_1d_fn qor_dft_def_dfxi_create_dc1d;
QOR_DEF_API qor::dfxi::create_1d_fn qor_dft_def_dfxi_create_sc1d;
QOR_DEF_API qor::dfxi::set_bkdlist_fn qor_dft_def_dfxi_set_bkdlist_dc1d;
QOR_DEF_API qor::dfxi::set_bkdlist_fn qor_dft_def_dfxi_set_bkdlist_sc1d;

QOR_DEF_API qor::dfxi::get_size_fn<double> qor_dft_def_dfxi_get_size_dc1d;
QOR_DEF_API qor::dfxi::get_size_fn<float> qor_dft_def_dfxi_get_size_sc1d;
QOR_DEF_API qor::dfxi::get_size_fn<double> qor_dft_def_dfxi_get_size_dcsp1d;
QOR_DEF_API qor::dfxi::get_size_fn<float> qor_dft_def_dfxi_get_size_scsp1d;
QOR_DEF_API qor::dfxi::init_fn qor_dft_def_dfxi_init_dc1d;
QOR_DEF_API qor::dfxi::init_fn qor_dft_def_dfxi_init_sc1d;
QOR_DEF_API qor::dfxi::init_fn qor_dft_def_dfxi_init_dcsp1d;
QOR_DEF_API qor::dfxi::init_fn qor_dft_def_dfxi_init_scsp1d;

QOR_DEF_API qor::dfxi::can_scale_fn qor_dft_def_zup_can_scale;
QOR_DEF_API qor::dfxi::version_string_fn qor_dft_def_dfxi_get_version_string;
QOR_DEF_API qor::dfxi::verbose_fn qor_dft_def_dfxi_verbose;
