# cmake --install BUILD_FOLDER --prefix FOLDER: what is delivered, programs and public headers apart.
install(TARGETS QXStillSource qxlog64 qxstill RUNTIME DESTINATION bin)
install(FILES "${QX_IDL_OUTPUT}/QXStillSource.tlb" DESTINATION bin)
install(FILES "${QX_IDL_OUTPUT}/QXStillSource.h" include/dstl/dshowx/QXLog.h DESTINATION include)
