# The fuzz targets, shared by the libFuzzer build (fuzz/) and the plain replay
# of their committed inputs in the test build (fuzz/replay/).
set(KOVRAL_FUZZ_TARGETS
  split_raw split_slap split_alloc_failure finger_locator region_tools hand_judgement bmp_writer angle_tables
  fast_vs_reference)
# Targets of the reading layer, linked with kovral_io.
set(KOVRAL_FUZZ_IO_TARGETS read_png read_jpeg read_bmp read_pnm wsq_decoder an2k_reader)

# The committed inputs of target t: its seeds and the input of every defect it found.
function(kovral_fuzz_inputs t out)
  file(GLOB seed_files CONFIGURE_DEPENDS ${kovral_SOURCE_DIR}/fuzz/corpus/${t}/*)
  file(GLOB regression_files CONFIGURE_DEPENDS ${kovral_SOURCE_DIR}/fuzz/regressions/${t}/*)
  list(FILTER regression_files EXCLUDE REGEX "\\.md$")
  set(${out} ${seed_files} ${regression_files} PARENT_SCOPE)
endfunction()
