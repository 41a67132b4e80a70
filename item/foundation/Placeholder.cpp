int pagemark_placeholder;
