# The dial tones: made at build time by scripts/make-dial-tones.py into resources/tones of the build
# folder, where Sounds.rc finds them through the resource compiler's include path.
find_program(PAGEMARK_PYTHON3 python3 REQUIRED)
set(dial_tone_folder ${CMAKE_CURRENT_BINARY_DIR}/resources/tones)
set(dial_tone_files)
foreach(key 0 1 2 3 4 5 6 7 8 9 star hash)
  list(APPEND dial_tone_files ${dial_tone_folder}/tone_${key}.wav)
endforeach()
add_custom_command(OUTPUT ${dial_tone_files}
  COMMAND ${PAGEMARK_PYTHON3} ${PROJECT_SOURCE_DIR}/scripts/make-dial-tones.py ${dial_tone_folder}
  DEPENDS ${PROJECT_SOURCE_DIR}/scripts/make-dial-tones.py
  COMMENT "Making the dial tones"
  VERBATIM)
add_custom_target(dialtones DEPENDS ${dial_tone_files})
add_dependencies(pimresources dialtones)
target_include_directories(pimresources PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/resources)
set_source_files_properties(${CMAKE_CURRENT_SOURCE_DIR}/resources/Sounds.rc PROPERTIES OBJECT_DEPENDS
                            "${dial_tone_files}")
