program otherword
end
