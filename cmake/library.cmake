# The library. A source's place tells what it is: in a folder kernels/ it is compiled once for each instruction-set level of
# the target; elsewhere it is plain code, the exported functions in orv*.cpp and what they share in own*.cpp.

set(core ${PROJECT_SOURCE_DIR}/_Src/core)
file(GLOB kernel_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/_Src/*/kernels/own*.cpp)
# The kernels that have the level v4 too. Others gain little by it, or as much in some rows as they lose in others.
set(wide_sources
  ${PROJECT_SOURCE_DIR}/_Src/colour/kernels/ownmodels32s.cpp ${PROJECT_SOURCE_DIR}/_Src/convert/kernels/ownscale.cpp)
file(GLOB plain_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/_Src/*/orv*.cpp ${PROJECT_SOURCE_DIR}/_Src/*/own*.cpp)
list(REMOVE_ITEM plain_sources ${core}/ownheap.cpp)  # the tests have one of their own

if(WIN32)
  list(APPEND plain_sources ${core}/platform_windows.cpp)
else()
  list(APPEND plain_sources ${core}/platform_posix.cpp)
endif()

# Same bits everywhere: no fused or extended arithmetic. No run-time of C++, since the library needs libc and libm only.
add_library(orvz3_flags INTERFACE)
target_include_directories(orvz3_flags INTERFACE ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(orvz3_flags INTERFACE ORV_BUILD)
target_compile_options(orvz3_flags INTERFACE
  -fvisibility=hidden -fvisibility-inlines-hidden -ffp-contract=off -fno-math-errno -fno-trapping-math
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)

if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # What is said to gcc's vectoriser, and inline helpers that one level does not need.
  target_compile_options(orvz3_flags INTERFACE -Wno-unknown-pragmas -Wno-unused-function)
endif()

set(is_x86 FALSE)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
  set(is_x86 TRUE)
endif()
if(is_x86 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_options(orvz3_flags INTERFACE -msse2 -mfpmath=sse -mstackrealign)
endif()
if(WIN32)
  # The system aligns stacks to 16 bytes only and the compiler relies on 32 for AVX; unaligned moves cost nothing.
  target_compile_options(orvz3_flags INTERFACE -Wa,-muse-unaligned-vector-move)
endif()

# The many small objects of its butterflies, each watched beyond its scope, would take the compiler minutes.
set_source_files_properties(${core}/kernels/ownfourier.cpp PROPERTIES
  COMPILE_OPTIONS $<$<CONFIG:Sanitize>:-fno-sanitize-address-use-after-scope>)

add_library(orvz3_plain OBJECT ${plain_sources})
target_link_libraries(orvz3_plain PRIVATE orvz3_flags)
add_library(orvz3_heap OBJECT ${core}/ownheap.cpp)
target_link_libraries(orvz3_heap PRIVATE orvz3_flags)

set(orvz3_objects $<TARGET_OBJECTS:orvz3_plain>)
function(orvz3_level name sources)
  add_library(orvz3_${name} OBJECT ${${sources}})
  target_link_libraries(orvz3_${name} PRIVATE orvz3_flags)
  target_compile_options(orvz3_${name} PRIVATE $<$<CONFIG:Release>:-O3> ${ARGN})
  target_compile_definitions(orvz3_${name} PRIVATE OWN_ISA=own${name})
  set(orvz3_objects ${orvz3_objects} $<TARGET_OBJECTS:orvz3_${name}> PARENT_SCOPE)
endfunction()
orvz3_level(Base kernel_sources)
if(is_x86)
  # Without -mfma: gcc 12 fuses alternate sums and differences of products even where contraction is off. The sources that
  # fuse on purpose, where the product is exact, say so themselves, in words that clang does not know.
  set(v3 -mavx2 -mbmi -mbmi2 -mlzcnt -mmovbe -mf16c -mpopcnt $<$<CXX_COMPILER_ID:Clang,AppleClang>:-mfma>)
  orvz3_level(V3 kernel_sources ${v3})
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    orvz3_level(V4 wide_sources ${v3} -mavx512f -mavx512bw -mavx512cd -mavx512dq -mavx512vl -mprefer-vector-width=512)
  endif()
endif()

add_library(orvz3 SHARED ${orvz3_objects} $<TARGET_OBJECTS:orvz3_heap>)
add_library(orvz3::orvz3 ALIAS orvz3)
set_target_properties(orvz3 PROPERTIES LINKER_LANGUAGE C VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
target_include_directories(orvz3 PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
# The same objects as an archive, for programs that are to carry the library in themselves.
add_library(orvz3_static STATIC ${orvz3_objects} $<TARGET_OBJECTS:orvz3_heap>)
add_library(orvz3::static ALIAS orvz3_static)
set_target_properties(orvz3_static PROPERTIES LINKER_LANGUAGE C OUTPUT_NAME orvz3 PREFIX lib SUFFIX .a)
target_compile_definitions(orvz3_static INTERFACE ORV_STATIC)
target_include_directories(orvz3_static INTERFACE ${PROJECT_SOURCE_DIR}/include)
if(NOT WIN32)
  target_link_libraries(orvz3_static INTERFACE m)
endif()

if(WIN32)
  set_target_properties(orvz3 PROPERTIES PREFIX "")
  target_link_options(orvz3 PRIVATE -static)
else()
  target_link_libraries(orvz3 PRIVATE m)
  target_link_options(orvz3 PRIVATE -static-libgcc -Wl,--no-undefined -Wl,--as-needed
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
  set_target_properties(orvz3 PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
endif()
if(WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_link_options(orvz3 PRIVATE -Wl,--kill-at)
  add_custom_command(TARGET orvz3 POST_BUILD VERBATIM COMMAND_EXPAND_LISTS
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/make-import-library ${CMAKE_NM} ${CMAKE_DLLTOOL}
      $<TARGET_FILE:orvz3> $<TARGET_LINKER_FILE:orvz3> $<TARGET_OBJECTS:orvz3_plain>)
endif()
