# netloom_embed_page(TARGET): compiles the interactive page (page.html) into
# TARGET as the string kPageHtml of the header page_html.h, made at build time.
set(NETLOOM_PAGE_DIR ${CMAKE_CURRENT_LIST_DIR})
function(netloom_embed_page target)
  set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target}_page)
  add_custom_command(
    OUTPUT ${dir}/page_html.h
    COMMAND ${CMAKE_COMMAND} -DINPUT=${NETLOOM_PAGE_DIR}/page.html -DOUTPUT=${dir}/page_html.h
            -DNAME=kPageHtml -P ${NETLOOM_PAGE_DIR}/embed.cmake
    DEPENDS ${NETLOOM_PAGE_DIR}/page.html ${NETLOOM_PAGE_DIR}/embed.cmake
    COMMENT "Embedding the interactive page")
  target_sources(${target} PRIVATE ${dir}/page_html.h)
  target_include_directories(${target} PRIVATE ${dir})
endfunction()
